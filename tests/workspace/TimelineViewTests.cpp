#include "workspace/KeyTable.h"
#include "workspace/SpineLayout.h"
#include "workspace/SpineRuler.h"
#include "workspace/WavePicture.h"

#include <gmock/gmock.h>

#include <cmath>
#include <random>

namespace ld::test
{
namespace
{

using Area = juce::Rectangle<float>;
using juce::int64;

constexpr int64 tenMinutes = 600 * 48000;
constexpr float width = 1034.0f;
const Area timeline (300.0f, 50.0f, width, 400.0f);

TimelineView wholeOf (int64 length)
{
    TimelineView view;
    view.takeLength = length;
    return view;
}

// A lane whose samples are their own numbers, in steps that a float holds.
float valueAt (int64 sample)
{
    return (float) (sample % 4096) / 4096.0f;
}

std::vector<float> rampOf (int64 length)
{
    std::vector<float> audio ((size_t) length);

    for (int64 i = 0; i < length; ++i)
        audio[(size_t) i] = valueAt (i);

    return audio;
}

}    // namespace

TEST (TimelineView, WhatIsUnderThePointerStaysThereWhileItIsZoomed)
{
    std::mt19937 random (7);
    std::uniform_real_distribution<double> share (0.0, 1.0);

    for (int i = 0; i < 500; ++i)
    {
        auto view = wholeOf (1 + (int64) (share (random) * tenMinutes));

        for (int turn = 0; turn < 30; ++turn)
        {
            const auto x = timeline.getX() + (float) share (random) * width;
            const auto before = view.visible();
            const auto sample = sampleAt (timeline, x, before);
            view = zoomed (view, 0.4 + 2.0 * share (random), (double) (x - timeline.getX()) / width);
            const auto now = view.visible();
            ASSERT_GE (now.start, 0);
            ASSERT_LE (now.end(), view.takeLength);
            ASSERT_GE (now.length, std::min (closestSpan, view.takeLength));

            // At the ends of the take the view stops instead.
            if (now.start > 0 && now.end() < view.takeLength)
            {
                ASSERT_NEAR (xOfSample (timeline, sample, now), x, 1.0 + 1.0 / samplesPerPixel (timeline, now));
            }
        }
    }
}

TEST (TimelineView, AClickMeansTheSampleThatIsDrawnThere)
{
    std::mt19937 random (11);
    std::uniform_real_distribution<double> share (0.0, 1.0);

    for (int i = 0; i < 2000; ++i)
    {
        auto view = zoomed (wholeOf (tenMinutes), std::pow (2.0, 20.0 * share (random)), share (random));
        const auto visible = view.visible();
        const auto x = timeline.getX() + (float) std::floor (share (random) * width);
        const auto sample = sampleAt (timeline, x, visible);
        const auto perPixel = samplesPerPixel (timeline, visible);
        ASSERT_NEAR (xOfSample (timeline, sample, visible), x, 0.01 + 0.5 / perPixel);

        // The same sample is where blocks and the ruler's marks stand.
        const auto block = blockBounds (timeline, { sample, std::max<int64> (visible.end() - sample, 1) }, visible);
        if (! block.isEmpty())
        {
            ASSERT_NEAR (block.getX(), x, 0.01 + 0.5 / perPixel);
        }

        const auto drag = samplesOfPixels (timeline, 10.0f, visible);
        ASSERT_NEAR ((double) drag, 10.0 * perPixel, 0.5);
    }
}

TEST (TimelineView, FollowsThePlayheadPageByPageAndScrollsWithinTheTake)
{
    auto view = zoomed (wholeOf (tenMinutes), 10.0, 0.0);
    const auto page = view.visible().length;
    EXPECT_EQ (following (view, page / 2), view);
    view = following (view, page);
    EXPECT_EQ (view.visible().start, page - page / 20);
    EXPECT_EQ (following (view, 0).visible().start, 0) << "back to the start";
    EXPECT_EQ (scrolledTo (view, tenMinutes).visible().end(), tenMinutes);
    EXPECT_EQ (scrolledTo (wholeOf (1000), 500), wholeOf (1000)) << "nowhere to go";
    EXPECT_FALSE (zoomed (view, 1.0e-9, 0.3).isZoomed());
    EXPECT_EQ (showing (wholeOf (tenMinutes), { 48000, 96000 }).visible(), (SpineSpan { 43200, 105600 }));
    EXPECT_FALSE (showing (view, { -100, 2 * tenMinutes }).isZoomed());
}

TEST (SpineRuler, MarksStandWhereTheirTimecodeIsDrawn)
{
    HostTake host;
    host.format = { .channels = 1, .sampleRate = 48000, .numFrames = tenMinutes, .valid = true };
    host.ixml.present = host.ixml.hasTimestamp = true;
    host.ixml.timecodeRate = "25/1";
    host.ixml.timestampSamples = (juce::uint64) 3600 * 48000 + 960;    // half a frame into ten o'clock's first
    const Area ruler (300.0f, 4.0f, width + 30.0f, 46.0f);

    const auto whole = rulerMarks (host, ruler, timeline, wholeOf (tenMinutes));
    ASSERT_EQ (whole.size(), 5u);
    EXPECT_EQ (whole[2].x, timeline.getX() + width / 2.0f) << "not the middle of the ruler, which is wider";

    for (const auto zoom : { 4.0, 40.0, 400.0, 4000.0, 40000.0, 400000.0 })
    {
        const auto view = zoomed (wholeOf (tenMinutes), zoom, 0.37);
        const auto marks = rulerMarks (host, ruler, timeline, view);
        ASSERT_GE (marks.size(), 2u) << zoom;

        for (size_t i = 0; i < marks.size(); ++i)
        {
            EXPECT_NEAR (marks[i].x, xOfSample (timeline, marks[i].sample, view.visible()), 0.01f);

            if (i > 0 && marks[i].text.isNotEmpty() && marks[i - 1].text.isNotEmpty())
            {
                EXPECT_GE (marks[i].box.getX(), marks[i - 1].box.getRight() - 1.0f) << marks[i].text;
            }

            // A mark of a frame stands on the first sample of it: 960 samples are left of the first one.
            if (! marks[i].text.contains ("+"))
            {
                EXPECT_EQ ((marks[i].sample + 960) % 1920, 0) << marks[i].text;
            }
        }
    }
}

TEST (PeakCurve, EveryLevelHoldsTheExtremesOfItsSamples)
{
    auto audio = rampOf (6 * 1000 * 1000);
    audio[123457] = 3.0f;
    audio[5999999] = -2.0f;
    audio[77] = std::numeric_limits<float>::quiet_NaN();
    const auto lane = peaksOf (audio, guestPeakBuckets);
    ASSERT_EQ (lane.levels.size(), 3u);
    EXPECT_EQ (lane.levels[1].samplesPerBucket, 512);
    size_t bytes = 0;

    for (const auto& level : lane.levels)
    {
        bytes += 2 * sizeof (float) * level.minValues.size();
        EXPECT_EQ (rangeOver (level, 123457.0, 123458.0)->high, 3.0f);
        EXPECT_EQ (level.minValues.back(), -2.0f);
        EXPECT_NEAR (rangeOver (level, 4096.0 * 100, 4096.0 * 101)->low, 0.0f, 1.0e-6f);
        EXPECT_LT (rangeOver (level, 4096.0 * 100, 4096.0 * 101)->high, 1.0f);
        EXPECT_FALSE (rangeOver (level, 6.1e6, 6.2e6));
    }

    EXPECT_LT ((double) bytes, 0.03 * (double) (audio.size() * sizeof (float)));
    EXPECT_EQ (levelFor (lane, 400.0)->samplesPerBucket, 128);
    EXPECT_EQ (levelFor (lane, 9000.0)->samplesPerBucket, 2048);
    EXPECT_TRUE (peaksOf (std::vector<float> (1000), guestPeakBuckets).levels.empty());
}

TEST (WavePicture, ShowsWhatAPixelCoversAtEveryZoom)
{
    const auto audio = rampOf (3 * 1000 * 1000);
    const auto lane = peaksOf (audio, guestPeakBuckets);
    const auto close = levelOf (audio, closeBucket);
    const Area area (0.0f, 0.0f, 500.0f, 100.0f);
    constexpr int64 offset = -1000;

    for (const int64 length : { 40, 400, 4000, 20000, 40000, 400000 })
    {
        const SpineSpan visible { 50000, length };
        const auto shape = waveShape (area, { lane, offset, audio, 0, &close }, visible, 0.5f);
        const auto perPixel = samplesPerPixel (area, visible);

        for (const auto& point : shape.points)
        {
            const auto sample = (int64) std::lround (point.x * perPixel) + visible.start - offset;
            EXPECT_NEAR (point.y, 50.0f - 50.0f * valueAt (sample), 0.05f) << length;
        }

        for (const auto& column : shape.columns)
        {
            EXPECT_GE (column.top, 0.0f) << "within its lane";

            // The sample in the middle of the pixel lies within what the column covers.
            const auto sample = visible.start - offset + (int64) std::floor ((column.x + 0.5) * perPixel);
            const auto y = 50.0f - 50.0f * valueAt (sample);
            EXPECT_LE (column.top, y + 0.6f) << length;
            EXPECT_GE (column.bottom, y - 0.6f) << length;
        }

        EXPECT_EQ (shape.points.empty(), length > 40) << length;
        EXPECT_EQ (shape.columns.empty(), length == 40) << length;
    }

    EXPECT_TRUE (wantsSamples (lane, 20.0));
    EXPECT_FALSE (wantsSamples (lane, 300.0));
}

TEST (Keys, EachHasOneMeaningAndTheGuideTellsItAsItIs)
{
    const auto guide = juce::File (LD_SOURCE_DIR).getChildFile ("docs/guide.md").loadFileAsString();

    for (const auto& binding : keyTable())
    {
        EXPECT_EQ (commandOf (binding.key), binding.command) << binding.keyText;
        EXPECT_TRUE (guide.contains ("| `" + juce::String (binding.keyText) + "` | " + binding.does + " |"))
            << binding.keyText;
    }
}

}    // namespace ld::test
