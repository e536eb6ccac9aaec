#include "workspace/SpineRuler.h"

#include "media/BextIxml.h"
#include "media/Timecode.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ld
{
namespace
{

using juce::int64;

constexpr float boxWidth = 108.0f, tickHeight = 5.0f;

/** The host's clock in the take's own samples. */
struct HostClock
{
    explicit HostClock (const HostTake& host)
    {
        const auto stampRate = std::max (sampleRateForTimestamp (host.ixml, host.format), 1.0);
        const auto fps = parseFrameRate (host.ixml.timecodeRate);
        const auto rate = (double) std::max (host.format.sampleRate, 1);
        framesPerSecond = fps > 0.0 ? fps : 24.0;
        samplesPerFrame = rate / framesPerSecond;
        start = (double) timestampFromIxmlOrBext (host.ixml, host.bext) * rate / stampRate;
    }

    // The first sample of the take that lies in a frame or behind its start; frames count from midnight.
    [[nodiscard]] int64 sampleOfFrame (int64 frame) const noexcept
    {
        constexpr double rounding = 1.0e-6;
        return (int64) std::ceil ((double) frame * samplesPerFrame - start - rounding);
    }

    [[nodiscard]] int64 frameAt (int64 sample) const noexcept
    {
        auto frame = (int64) std::floor ((start + (double) sample) / samplesPerFrame);
        return sampleOfFrame (frame + 1) <= sample ? frame + 1 : frame;
    }

    double framesPerSecond = 24.0, samplesPerFrame = 2000.0, start = 0.0;
};

RulerMark markAt (int64 sample, const juce::String& text, juce::Rectangle<float> ruler, float x, float width)
{
    return { .sample = sample,
             .x = x,
             .text = text,
             .box = { x - width / 2.0f, ruler.getY(), width, ruler.getHeight() - tickHeight } };
}

std::vector<RulerMark> quarterMarks (const HostTake& host,
                                     juce::Rectangle<float> ruler,
                                     juce::Rectangle<float> timeline,
                                     const TimelineView& view)
{
    std::vector<RulerMark> marks;

    for (int quarter = 0; quarter <= 4; ++quarter)
    {
        const auto share = (double) quarter / 4.0;
        const auto sample = (int64) std::round ((double) view.takeLength * share);
        const auto x = timeline.getX() + timeline.getWidth() * (float) share;
        auto mark = markAt (sample, timecodeAt (host, sample), ruler, x, boxWidth);

        if (quarter == 0)
        {
            mark.box.setX (x);
            mark.justification = juce::Justification::left;
        }
        else if (quarter == 4)
        {
            mark.box.setX (x - boxWidth);
            mark.justification = juce::Justification::right;
        }

        marks.push_back (mark);
    }

    return marks;
}

// The smallest step of a row that leaves room for the texts; the last one where none does.
template <typename Steps>
int64 stepFor (const Steps& steps, double least)
{
    const auto found = std::ranges::find_if (steps, [least] (auto step) { return (double) step >= least; });
    return found != std::end (steps) ? *found : *std::prev (std::end (steps));
}

std::vector<RulerMark> frameMarks (const HostTake& host,
                                   juce::Rectangle<float> ruler,
                                   juce::Rectangle<float> timeline,
                                   const TimelineView& view,
                                   double perPixel)
{
    constexpr double spacing = 128.0;
    const HostClock clock (host);
    const auto second = (int64) std::lround (clock.framesPerSecond);
    const std::array steps { int64 { 1 }, int64 { 2 },  int64 { 6 },  int64 { 12 }, second,
                             2 * second,  5 * second,   10 * second,  15 * second,  30 * second,
                             60 * second, 120 * second, 300 * second, 600 * second, 1800 * second };
    const auto step = stepFor (steps, spacing * perPixel / clock.samplesPerFrame);
    const auto visible = view.visible();
    std::vector<RulerMark> marks;

    for (auto frame = (clock.frameAt (visible.start) / step) * step;; frame += step)
    {
        const auto sample = clock.sampleOfFrame (frame);

        if (sample > visible.end())
            return marks;

        if (sample >= visible.start)
            marks.push_back (
                markAt (sample, timecodeAt (host, sample), ruler, xOfSample (timeline, sample, visible), boxWidth));
    }
}

// Below a frame: the frame, and how many of its samples have passed.
std::vector<RulerMark> sampleMarks (const HostTake& host,
                                    juce::Rectangle<float> ruler,
                                    juce::Rectangle<float> timeline,
                                    const TimelineView& view,
                                    double perPixel)
{
    constexpr double spacing = 168.0;
    constexpr float width = 160.0f;
    constexpr std::array<int64, 12> steps { 1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000 };
    const HostClock clock (host);
    const auto step = stepFor (steps, spacing * perPixel);
    const auto visible = view.visible();
    std::vector<RulerMark> marks;

    for (auto sample = (visible.start + step - 1) / step * step; sample <= visible.end(); sample += step)
    {
        const auto into = sample - clock.sampleOfFrame (clock.frameAt (sample));
        const auto text = timecodeAt (host, sample) + " +" + juce::String (into);
        marks.push_back (markAt (sample, text, ruler, xOfSample (timeline, sample, visible), width));
    }

    return marks;
}

}    // namespace

std::vector<RulerMark> rulerMarks (const HostTake& host,
                                   juce::Rectangle<float> ruler,
                                   juce::Rectangle<float> timeline,
                                   const TimelineView& view)
{
    constexpr double narrowestFrame = 128.0;    // pixels
    const auto perPixel = samplesPerPixel (timeline, view.visible());

    if (! view.isZoomed())
        return quarterMarks (host, ruler, timeline, view);

    auto marks = HostClock (host).samplesPerFrame >= narrowestFrame * perPixel * 2.0
                     ? sampleMarks (host, ruler, timeline, view, perPixel)
                     : frameMarks (host, ruler, timeline, view, perPixel);

    // What would be cut off at the sides is left out; its tick stays.
    for (auto& mark : marks)
        if (mark.box.getX() < ruler.getX() - 1.0f || mark.box.getRight() > ruler.getRight() + 1.0f)
            mark.text.clear();

    return marks;
}

}    // namespace ld
