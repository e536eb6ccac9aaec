#include "output/JsonFields.h"

#include "media/NumberText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace ld
{
namespace
{

using juce::int64;

// The document nests five deep. The framework's parser calls itself for each level.
constexpr int deepestNesting = 64;

// The framework's parser does not look at the range of whole numbers, nor of what stands ahead of a point: longer ones are
// read as short reals.
constexpr int mostDigits = 18;

// Nor at the range of an exponent, for which a number must be longer than this.
constexpr size_t longestPlainReal = 10;

// Makes a text safe for the framework's parser: none if it nests too deep; over-long numbers are written as short reals.
class DocumentText
{
public:
    [[nodiscard]] static std::optional<juce::String> guarded (const juce::String& text)
    {
        DocumentText guard;

        for (auto p = text.toRawUTF8(); *p != 0 && guard.depth <= deepestNesting; ++p)
            guard.add (*p);

        if (guard.depth > deepestNesting)
            return {};

        guard.endNumber();
        return juce::String::fromUTF8 (guard.out.data(), (int) guard.out.size());
    }

private:
    void add (char c)
    {
        if (quote != 0)
            passString (c);
        else
            passOutside (c);

        out.push_back (c);
    }

    void passString (char c)
    {
        if (isEscaped)
            isEscaped = false;
        else if (c == '\\')
            isEscaped = true;
        else if (c == quote)
            quote = 0;
    }

    void passOutside (char c)
    {
        if (passNumber (c))
            return;

        endNumber();

        if (c == '"' || c == '\'')
            quote = c;

        depth += c == '{' || c == '[' ? 1 : 0;
        depth -= c == '}' || c == ']' ? 1 : 0;
    }

    // False where this is no part of a number.
    bool passNumber (char c)
    {
        if (c >= '0' && c <= '9')
        {
            if (! isNumber)
                numberStart = out.size();

            isNumber = true;
            wholeDigits += isReal ? 0 : 1;
            return true;
        }

        const auto isPoint = isNumber && (c == '.' || c == 'e' || c == 'E');
        const auto isSign = isReal && (c == '-' || c == '+');
        isReal = isReal || isPoint;
        return isPoint || isSign;
    }

    void endNumber()
    {
        if (wholeDigits > mostDigits || (isReal && out.size() - numberStart > longestPlainReal))
            shortenNumber();

        isNumber = isReal = false;
        wholeDigits = 0;
    }

    // The same value as a real with one digit ahead of the point.
    void shortenNumber()
    {
        constexpr auto largest = 1.0e308;
        const auto value = realNumberIn (out.substr (numberStart));
        std::array<char, 32> digits {};
        const auto end = std::to_chars (
            digits.data(), digits.data() + digits.size(), std::min (value, largest), std::chars_format::scientific);
        out.replace (numberStart, std::string::npos, digits.data(), (size_t) (end.ptr - digits.data()));
    }

    std::string out;
    char quote = 0;
    bool isEscaped = false, isNumber = false, isReal = false;
    size_t numberStart = 0;
    int wholeDigits = 0, depth = 0;
};

double realNumberOf (const juce::var& value)
{
    return value.isString() ? realNumberIn (value.toString()) : (double) value;
}

// A value of any type as the framework converts it, but for numbers that the target cannot hold: they are clamped.
int64 wholeNumberOf (const juce::var& value)
{
    if (! value.isDouble() && ! value.isString())
        return (int64) value;

    if (value.isString() && value.toString().length() <= mostDigits)
        return (int64) value;

    constexpr auto limit = 9.2e18;
    const auto real = realNumberOf (value);
    return std::isnan (real) ? 0 : (int64) juce::jlimit (-limit, limit, real);
}

double finiteNumberOf (const juce::var& value)
{
    const auto real = realNumberOf (value);
    return std::isfinite (real) ? real : 0.0;
}

}    // namespace

std::optional<juce::String> guardedJson (const juce::String& text)
{
    return DocumentText::guarded (text);
}

void Fields::read (const char* key, int64& target) const
{
    if (has (key))
        target = wholeNumberOf (value[key]);
}

void Fields::read (const char* key, int& target) const
{
    using Limits = std::numeric_limits<int>;

    if (has (key))
        target = (int) juce::jlimit<int64> (Limits::min(), Limits::max(), wholeNumberOf (value[key]));
}

void Fields::read (const char* key, double& target) const
{
    if (has (key))
        target = finiteNumberOf (value[key]);
}

void Fields::read (const char* key, float& target) const
{
    constexpr double limit = std::numeric_limits<float>::max();

    if (has (key))
        target = (float) juce::jlimit (-limit, limit, finiteNumberOf (value[key]));
}

void Fields::read (const char* key, bool& target) const
{
    if (has (key))
        target = (bool) value[key];
}

void Fields::read (const char* key, juce::String& target) const
{
    if (has (key))
        target = value[key].toString();
}

void Fields::read (const char* key, juce::File& target) const
{
    if (const auto path = value[key].toString(); juce::File::isAbsolutePath (path))
        target = juce::File (path);
}

void Fields::read (const char* key, Alignment::Method& target) const
{
    target = methodOfWord (value[key].toString());
}

int64 wholeNumberIn (const juce::var& value)
{
    return wholeNumberOf (value);
}

void readWholeAlignment (const Fields& fields, Alignment& alignment)
{
    fields.read ("offsetSamples", alignment.offsetSamples);
    fields.read ("method", alignment.method);
    fields.read ("confidence", alignment.confidence);
    fields.read ("needsManual", alignment.needsManual);
    fields.read ("driftSlope", alignment.driftSlope);
    fields.read ("detail", alignment.detail);
    fields.read ("evidence", alignment.evidence);
    fields.readArray ("stretches", alignment.stretches, [] (const juce::var& item) {
        ClockStretch stretch;
        Fields (item).read ("fromSample", stretch.fromSample);
        Fields (item).read ("hostSample", stretch.hostSample);
        Fields (item).read ("slope", stretch.slope);
        return stretch;
    });
}

}    // namespace ld
