#include "report/ClockChart.h"

#include "report/Svg.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr double width = 500.0, height = 170.0, left = 74.0, right = 490.0, top = 10.0, bottom = 146.0;

struct Range
{
    double low = 0.0, high = 0.0;

    void take (double value)
    {
        low = std::min (low, value);
        high = std::max (high, value);
    }
};

// A line through the points of one setting.
struct Setting
{
    double from = 0.0, to = 0.0, errorFrom = 0.0, errorTo = 0.0;    // s
};

std::vector<Setting> settingsOf (const ReportClock& told)
{
    std::vector<Setting> settings;

    for (const auto& jam : told.clock.jams)
        settings.push_back ({ jam.fromSeconds,
                              jam.toSeconds,
                              jam.errorSeconds,
                              jam.errorSeconds + jam.drift * (jam.toSeconds - jam.fromSeconds) });

    // What drifts without being set only drifts.
    if (settings.empty() && told.toSeconds > told.fromSeconds)
        settings.push_back (
            { told.fromSeconds, told.toSeconds, 0.0, told.clock.slope * (told.toSeconds - told.fromSeconds) });

    return settings;
}

// 1, 2 or 5 times a power of ten, for about this many steps.
double niceStep (double span, int steps)
{
    const auto rough = span / steps, power = std::pow (10.0, std::floor (std::log10 (rough)));
    const auto share = rough / power;
    return power * (share <= 1.0 ? 1.0 : share <= 2.0 ? 2.0 : share <= 5.0 ? 5.0 : 10.0);
}

double timeStep (double span)
{
    for (const auto step : { 60.0, 300.0, 600.0, 1800.0, 3600.0, 7200.0, 14400.0 })
        if (span / step <= 8.0)
            return step;

    return 21600.0;
}

juce::String signedText (double value, int decimals)
{
    const auto text = juce::String (std::abs (value), decimals);
    const auto isZero = text.containsOnly ("0.");
    return (isZero        ? juce::String()
            : value < 0.0 ? juce::String::fromUTF8 ("\xE2\x88\x92")
                          : juce::String ("+"))
           + text;
}

class ClockPicture
{
public:
    explicit ClockPicture (const ReportClock& toldToUse) : told (toldToUse), settings (settingsOf (toldToUse))
    {
        times = { settings.front().from, settings.front().to };
        errors = { settings.front().errorFrom, settings.front().errorFrom };

        for (const auto& setting : settings)
        {
            times.take (setting.from);
            times.take (setting.to);
            errors.take (setting.errorFrom);
            errors.take (setting.errorTo);
        }

        for (const auto& point : told.points)
        {
            times.take (point.atSeconds);
            errors.take (point.errorSeconds);
        }

        // A clock without an error has a plot, too.
        constexpr double leastTime = 120.0, leastError = 0.002;
        pad (times, leastTime, 0.03);
        pad (errors, leastError, 0.12);
    }

    [[nodiscard]] juce::String draw()
    {
        drawErrors();
        drawTimes();

        for (size_t i = 0; i < settings.size(); ++i)
        {
            if (i > 0)
                line (settings[i - 1].to, settings[i - 1].errorTo, settings[i].from, settings[i].errorFrom, "jam");

            line (settings[i].from, settings[i].errorFrom, settings[i].to, settings[i].errorTo, "clock");
        }

        for (const auto& point : told.points)
            svg.dot (xOf (point.atSeconds), yOf (point.errorSeconds), 2.4, "point");

        return svg.picture (width, height, "Error of the clock of " + told.clock.key + " over the day");
    }

private:
    static void pad (Range& range, double least, double share)
    {
        const auto more = std::max (0.5 * (least - (range.high - range.low)), share * (range.high - range.low));
        range.low -= more;
        range.high += more;
    }

    void drawErrors()
    {
        const auto isInSeconds = std::max (std::abs (errors.low), std::abs (errors.high)) >= 1.0;
        const auto unit = isInSeconds ? 1.0 : 1000.0;
        const auto step = niceStep ((errors.high - errors.low) * unit, 5);
        const auto decimals = juce::jlimit (0, 3, (int) std::ceil (-std::log10 (step) - 1e-9));
        svg.text (2.0, top + 7.0, isInSeconds ? "s" : "ms", "time");

        for (auto i = (juce::int64) std::ceil (errors.low * unit / step); (double) i * step <= errors.high * unit; ++i)
        {
            const auto y = yOf ((double) i * step / unit);
            svg.line (left, y, right, y, i == 0 ? "axis" : "grid");
            svg.text (left - 5.0, y + 3.0, signedText ((double) i * step, decimals), "time end");
        }
    }

    void drawTimes()
    {
        const auto step = timeStep (times.high - times.low);

        for (auto i = (juce::int64) std::ceil (times.low / step); (double) i * step <= times.high; ++i)
        {
            const auto x = xOf ((double) i * step);
            svg.line (x, top, x, bottom, "grid");
            svg.text (x, bottom + 13.0, timeLabel ((double) i * step, false), "time middle");
        }
    }

    void line (double from, double errorFrom, double to, double errorTo, const char* cssClass)
    {
        svg.line (xOf (from), yOf (errorFrom), xOf (to), yOf (errorTo), cssClass);
    }

    [[nodiscard]] double xOf (double seconds) const
    {
        return left + (seconds - times.low) / (times.high - times.low) * (right - left);
    }

    [[nodiscard]] double yOf (double error) const
    {
        return bottom - (error - errors.low) / (errors.high - errors.low) * (bottom - top);
    }

    const ReportClock& told;
    std::vector<Setting> settings;
    Range times, errors;
    Svg svg;
};

juce::String driftText (const RecorderClock& clock)
{
    constexpr double partsPerMillion = 1e6, none = 0.05;
    const auto ppm = clock.slope * partsPerMillion;

    if (std::abs (ppm) < none)
        return "Runs true";

    return "Runs " + juce::String (std::abs (ppm), 1) + (ppm < 0.0 ? " ppm fast" : " ppm slow");
}

}    // namespace

juce::String drawClock (const ReportClock& told)
{
    if (settingsOf (told).empty())
        return {};

    return ClockPicture (told).draw();
}

juce::String clockSentence (const RecorderClock& clock)
{
    auto text = driftText (clock) + "; " + juce::String (clock.files)
                + (clock.files == 1 ? " file proves" : " files prove") + " it. ";

    if (clock.jams.empty())
        return text + "No timecode: drift alone.";

    juce::StringArray errors;

    for (const auto& jam : clock.jams)
        errors.add (signedText (jam.errorSeconds, 3) + " s from " + timeLabel (jam.fromSeconds, false));

    return text + "Timecode off by " + errors.joinIntoString (", ") + ".";
}

}    // namespace ld
