#include "report/Svg.h"

#include "output/Interchange.h"

#include <cmath>

namespace ld
{
namespace
{

juce::String number (double value)
{
    return juce::String (value, 1);
}

juce::String attribute (const char* name, double value)
{
    return juce::String (" ") + name + "=\"" + number (value) + "\"";
}

double widthOf (juce::juce_wchar letter)
{
    // DejaVu Sans; from the East Asian scripts on a letter is as wide as it is high.
    constexpr juce::juce_wchar firstWide = 0x2E80;
    return letter >= firstWide ? 1.05 : letter == 'i' || letter == 'l' || letter == '.' || letter == ':' ? 0.4 : 0.7;
}

}    // namespace

double textWidth (const juce::String& text, double size)
{
    auto width = 0.0;

    for (auto at = text.getCharPointer(); ! at.isEmpty(); ++at)
        width += widthOf (*at) * size;

    return width;
}

juce::String fittingText (const juce::String& text, double size, double width)
{
    if (textWidth (text, size) <= width)
        return text;

    const auto ellipsis = juce::String::fromUTF8 ("\xE2\x80\xA6");
    auto room = width - size;
    auto length = 0;

    for (auto at = text.getCharPointer(); ! at.isEmpty() && room >= widthOf (*at) * size; ++at, ++length)
        room -= widthOf (*at) * size;

    return text.substring (0, length).trimEnd() + ellipsis;
}

juce::String timeLabel (double seconds, bool hasSeconds)
{
    constexpr juce::int64 secondsPerDay = 86400;
    const auto whole = (juce::int64) std::floor (seconds + 1e-6);
    const auto time = (whole % secondsPerDay + secondsPerDay) % secondsPerDay;
    const auto field = [] (juce::int64 value) { return juce::String (value).paddedLeft ('0', 2); };
    const auto minutes = field (time / 3600) + ":" + field (time / 60 % 60);
    return hasSeconds ? minutes + ":" + field (time % 60) : minutes;
}

void Svg::box (double x, double y, double w, double h, const char* cssClass, const juce::String& hint)
{
    marks << "<rect" << attribute ("x", x) << attribute ("y", y) << attribute ("width", w) << attribute ("height", h)
          << " class=\"" << cssClass << "\"";
    marks << (hint.isEmpty() ? "/>\n" : "><title>" + xmlEsc (hint) + "</title></rect>\n");
}

void Svg::line (double x1, double y1, double x2, double y2, const char* cssClass)
{
    marks << "<line" << attribute ("x1", x1) << attribute ("y1", y1) << attribute ("x2", x2) << attribute ("y2", y2)
          << " class=\"" << cssClass << "\"/>\n";
}

void Svg::dot (double x, double y, double radius, const char* cssClass)
{
    marks << "<circle" << attribute ("cx", x) << attribute ("cy", y) << attribute ("r", radius) << " class=\""
          << cssClass << "\"/>\n";
}

void Svg::text (double x, double y, const juce::String& text, const char* cssClass)
{
    marks << "<text" << attribute ("x", x) << attribute ("y", y) << " class=\"" << cssClass << "\">" << xmlEsc (text)
          << "</text>\n";
}

juce::String Svg::picture (double width, double height, const juce::String& name) const
{
    return "<svg viewBox=\"0 0 " + number (width) + " " + number (height) + "\" role=\"img\" aria-label=\""
           + xmlEsc (name) + "\">\n" + marks + "</svg>\n";
}

}    // namespace ld
