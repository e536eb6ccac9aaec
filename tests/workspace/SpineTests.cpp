#include "support/MessageLoop.h"
#include "workspace/SpineRuler.h"
#include "workspace/SpineText.h"
#include "workspace/WavePicture.h"
#include "workspace/WaveformSpine.h"

#include "media/BextIxml.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using Area = juce::Rectangle<float>;
using juce::int64;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int64 takeFrames = 100000;

TrackInfo named (const juce::String& name)
{
    TrackInfo track;
    track.name = name;
    return track;
}

/** Two channels of the poly, the first the recorder's mix, and a guest of two lanes and two files. */
struct Scene
{
    Scene()
    {
        auto& host = session.host;
        host.format = { .channels = 2, .sampleRate = 48000, .numFrames = takeFrames, .valid = true };
        host.tracks = { named ("Mix"), named ("Boom") };
        host.peaks.resize (2);

        auto& guest = session.guests.emplace_back();
        guest.id = juce::Uuid();
        guest.file = juce::File ("/pack/TX_001.wav");
        guest.channelAudio.resize (2);
        guest.alignment.offsetSamples = 20000;

        for (const auto start : { 0, 30000 })
        {
            auto& piece = guest.pieces.emplace_back();
            piece.file = juce::File ("/pack/TX_00" + juce::String (guest.pieces.size()) + ".wav");
            piece.format = { .sampleRate = 24000, .numFrames = 10000, .valid = true };
            piece.offsetSamples = start;
        }

        spine.session = &session;
        spine.lookAndFeel = &theme;
        spine.setSize (1000, 400);
    }

    [[nodiscard]] juce::Image picture() { return spine.createComponentSnapshot (spine.getLocalBounds(), true, 1.0f); }

    // x and y in the spine.
    juce::MouseEvent mouse (float x, float y)
    {
        return { juce::Desktop::getInstance().getMainMouseSource(),
                 { x, y },
                 juce::ModifierKeys::leftButtonModifier,
                 juce::MouseInputSource::defaultPressure,
                 0.0f,
                 0.0f,
                 0.0f,
                 0.0f,
                 &spine,
                 &spine,
                 juce::Time(),
                 { x, y },
                 juce::Time(),
                 1,
                 false };
    }

    void press (juce::Point<float> at) { spine.mouseDown (mouse (at.x, at.y)); }
    void drag (juce::Point<float> at) { spine.mouseDrag (mouse (at.x, at.y)); }
    void release() { spine.mouseUp (mouse (0.0f, 0.0f)); }

    LookAndFeel theme;
    Session session;
    WaveformSpine spine;
};

/** Writes down what the timeline asks for. */
struct Log
{
    explicit Log (WaveformSpine& spine)
    {
        spine.onSeek = [this] (int64 s) { add ("seek " + juce::String (s)); };
        spine.onGuestSelected = [this] (auto, int lane) { add ("select " + juce::String (lane)); };
        spine.onSelectionCleared = [this] { add ("clear"); };
        spine.onGuestMoved = [this] (auto, int64 offset) { add ("move " + juce::String (offset)); };
        spine.onMixerGain = [this] (int i, float db) { add ("gain " + juce::String (i) + " " + juce::String (db, 1)); };
        spine.onMixerMute = [this] (int i, bool on) { add ("mute " + juce::String (i) + (on ? " on" : " off")); };
        spine.onRemoveTrack = [this] (bool isGuest, auto, int channel) {
            add (juce::String (isGuest ? "remove guest " : "remove host ") + juce::String (channel));
        };
        spine.onDrawGain = [this] (int i, float db, int64 sample, int64 previous) {
            add ("draw " + juce::String (i) + " " + juce::String (db, 1) + " " + juce::String (sample) + " "
                 + juce::String (previous));
        };
    }

    void add (const juce::String& line) { lines.push_back (line.toStdString()); }

    std::vector<std::string> lines;
};

}    // namespace

TEST (SpineLayout, DividesTheFrame)
{
    const auto frame = layOutSpine (Area (0.0f, 0.0f, 1000.0f, 400.0f));
    EXPECT_EQ (frame.timeline, Area (300.0f, 50.0f, 662.0f, 346.0f));
    EXPECT_EQ (frame.ruler, Area (300.0f, 4.0f, 692.0f, 46.0f));
    EXPECT_EQ (frame.labels, Area (8.0f, 4.0f, 292.0f, 392.0f));
    EXPECT_EQ (layOutSpine (Area (0.0f, 0.0f, 1.0f, 1.0f)).timeline.getWidth(), 0.0f);
}

TEST (SpineLayout, GivesEachShownChannelALane)
{
    Scene scene;
    auto lanes = scene.spine.layoutLanes();
    ASSERT_EQ (lanes.size(), 4u);
    EXPECT_FALSE (lanes[0].hasMixer) << "the recorder's own mix";
    EXPECT_TRUE (lanes[1].hasMixer);
    EXPECT_EQ (lanes[0].timeline, Area (300.0f, 50.0f, 662.0f, 77.5f)) << "(346 - 36) / 4";
    EXPECT_EQ (lanes[2].timeline.getY(), 50.0f + 155.0f + 36.0f);
    EXPECT_EQ (lanes[3].mixerIndex, 3);
    EXPECT_EQ (lanes[3].channel, 1);
    EXPECT_EQ (lanes[1].label, Area (8.0f, 127.5f, 240.0f, 77.5f));
    EXPECT_EQ (lanes[1].fader, Area (252.0f, 133.5f, 14.0f, 65.5f));
    EXPECT_EQ (lanes[1].muteButton, Area (272.0f, 155.25f, 22.0f, 22.0f));
    EXPECT_EQ (lanes[1].removeButton, Area (966.0f, 155.25f, 22.0f, 22.0f));

    scene.session.guests[0].lanesHidden = true;
    scene.session.host.omittedChannels = { 1 };
    lanes = scene.spine.layoutLanes();
    ASSERT_EQ (lanes.size(), 1u);
    EXPECT_EQ (lanes[0].hostChannel, 1);
    EXPECT_EQ (lanes[0].timeline.getHeight(), 92.0f) << "at most";

    scene.session.guests.resize (40);
    EXPECT_EQ (scene.spine.layoutLanes().back().timeline.getHeight(), 52.0f) << "at least, past the bottom";
    scene.session.host.format.valid = false;
    EXPECT_THAT (scene.spine.layoutLanes(), IsEmpty());
}

TEST (SpineLayout, TurnsHeightsIntoGain)
{
    const Area fader (0.0f, 100.0f, 14.0f, 72.0f);
    const std::pair<float, float> cases[] = {
        { 90.0f, 12.0f }, { 100.0f, 12.0f }, { 112.0f, 0.0f }, { 172.0f, -60.0f }, { 500.0f, -60.0f }
    };

    for (const auto& [y, db] : cases)
        EXPECT_FLOAT_EQ (gainDbAtHeight (fader, y), db) << y;

    EXPECT_EQ (gainDbAtHeight (fader.withHeight (1.0f), 100.0f), 0.0f);
}

TEST (SpineLayout, PlacesBlocksAndMutedSpans)
{
    Scene scene;
    const auto blocks = blocksOf (scene.session.guests[0], 48000);
    ASSERT_EQ (blocks.size(), 2u);
    EXPECT_EQ (blocks[0].span, (SpineSpan { 20000, 20000 })) << "10000 frames at half the rate";
    EXPECT_EQ (blocks[1].span, (SpineSpan { 50000, 20000 }));

    const Area timeline (100.0f, 0.0f, 1000.0f, 60.0f);
    EXPECT_EQ (blockBounds (timeline, { 20000, 20000 }, { 0, takeFrames }), Area (300.0f, 5.0f, 200.0f, 50.0f));
    EXPECT_EQ (blockBounds (timeline, { -50000, 60000 }, { 0, takeFrames }), Area (100.0f, 5.0f, 100.0f, 50.0f));
    EXPECT_EQ (blockBounds (timeline, { 50000, 1 }, { 0, takeFrames }).getWidth(), 3.0f);
    EXPECT_TRUE (blockBounds (timeline, { 200000, 5000 }, { 0, takeFrames }).isEmpty());

    EXPECT_THAT (mutedSpans ({ { 100, true } }, 1000), IsEmpty());
    EXPECT_THAT (mutedSpans ({ { 100, true }, { 300, false }, { 500, true } }, 1000),
                 ElementsAre (SpineSpan { 0, 100 }, SpineSpan { 100, 200 }, SpineSpan { 500, 500 }));
}

juce::Rectangle<float> boundsOf (const std::vector<WaveColumn>& columns)
{
    juce::RectangleList<float> all;

    for (const auto& column : columns)
        all.addWithoutMerging ({ column.x, column.top, 0.001f, column.bottom - column.top });

    return all.getBounds();
}

TEST (WavePicture, ShowsTheExtremesOfAllBuckets)
{
    PeakLane lane;
    lane.sourceSamples = takeFrames;
    lane.minValues.assign (4096, -0.1f);
    lane.maxValues.assign (4096, 0.1f);
    lane.maxValues[2001] = 1.0f;
    lane.minValues[777] = -1.0f;
    lane.maxValues[5] = std::numeric_limits<float>::quiet_NaN();
    const Area area (10.0f, 0.0f, 300.0f, 100.0f);
    const auto columnsAt = [&] (const PeakLane& peaks, int64 offset) {
        return waveShape (area, { peaks, offset }, { 0, takeFrames }, waveReach).columns;
    };
    const auto bounds = boundsOf (columnsAt (lane, 0));

    EXPECT_NEAR (bounds.getY(), 50.0f - 42.0f, 1e-3f);
    EXPECT_NEAR (bounds.getBottom(), 50.0f + 42.0f, 1e-3f);
    EXPECT_NEAR (bounds.getWidth(), 300.0f, 1.5f);
    EXPECT_NEAR (columnsAt (lane, 50000).front().x, 160.0f, 1.0f);
    EXPECT_NEAR (columnsAt (lane, -50000).front().x, 8.0f, 1.5f) << "two pixels over";
    EXPECT_THAT (columnsAt (lane, 5 * takeFrames), IsEmpty());
    EXPECT_THAT (columnsAt ({}, 0), IsEmpty());
}

TEST (WavePicture, FillsTheOutlineOfTheCurve)
{
    const std::vector<WaveColumn> columns {
        { 4.0f, 30.0f, 34.0f }, { 24.0f, 10.5f, 50.0f }, { 44.0f, 20.0f, 40.25f }, { 60.0f, 32.0f, 32.0f }
    };
    juce::Path outline;
    outline.startNewSubPath (columns.front().x, columns.front().top);

    for (size_t i = 1; i < columns.size(); ++i)
        outline.lineTo (columns[i].x, columns[i].top);

    for (auto column = columns.rbegin(); column != columns.rend(); ++column)
        outline.lineTo (column->x, column->bottom);

    outline.closeSubPath();

    for (const auto scale : { 1, 2 })
    {
        juce::Image image (juce::Image::ARGB, 70 * scale, 70 * scale, true, juce::SoftwareImageType());

        {
            juce::Graphics g (image);
            g.addTransform (juce::AffineTransform::scale ((float) scale));
            fillWave (g, columns, juce::Colours::white);
        }

        for (int y = 0; y < image.getHeight(); ++y)
            for (int x = 0; x < image.getWidth(); ++x)
            {
                const juce::Point<float> middle ((float) x + 0.5f, (float) y + 0.5f);
                const auto isInside = outline.contains (middle / (float) scale);
                const auto covered = image.getPixelAt (x, y).getFloatAlpha();
                EXPECT_TRUE (isInside ? covered > 0.2f : covered < 0.8f) << x << ", " << y << " at " << scale;
            }

        EXPECT_FLOAT_EQ (image.getPixelAt (24 * scale, 30 * scale).getFloatAlpha(), 1.0f);
        EXPECT_FLOAT_EQ (image.getPixelAt (24 * scale, 8 * scale).getFloatAlpha(), 0.0f);
    }
}

TEST (SpineText, NamesALaneAndItsPlace)
{
    Scene scene;
    const auto& host = scene.session.host;
    EXPECT_EQ (hostLaneText (host, 0).detail, "RECORDER MIX  ->  OLDMIX");
    EXPECT_EQ (hostLaneText (host, 1).name, "Boom");
    EXPECT_EQ (hostLaneText (host, 1).detail, "OTHER");
    EXPECT_EQ (hostLaneText (host, 7).name, "Ch 8");

    GuestClip guest;
    guest.file = juce::File ("/pack/TX_001.wav");
    EXPECT_EQ (guestLaneText (guest, 0).name, "TX_001");
    EXPECT_EQ (guestLaneText (guest, 0).detail, "UNMATCHED");
    guest.tracks = { named ("Anna"), named ("") };
    guest.alignment.method = Alignment::Method::timecodeRefined;
    guest.alignment.confidence = 0.934f;
    guest.pieces.resize (2);
    EXPECT_EQ (guestLaneText (guest, 1).name, "Anna");
    EXPECT_EQ (guestLaneText (guest, 1).detail, "TC + WAVEFORM  93%  |  2 files");
    guest.alignment.detail = "Waveform locked 5/5";
    EXPECT_EQ (guestLaneText (guest, 0).detail, "WAVEFORM LOCKED 5/5  93%  |  2 files");

    auto stamped = host;
    stamped.ixml.hasTimestamp = stamped.ixml.present = true;
    stamped.ixml.timestampSamples = 48000;
    EXPECT_EQ (timecodeAt (stamped, 0), "00:00:01:00");
    EXPECT_EQ (timecodeAt (stamped, takeFrames), "00:00:03:02") << "100000 samples are 50 frames of 24";
}

TEST (Spine, TellsWhatIsPressedInTheOrderOfWhatLiesOnTop)
{
    Scene scene;
    Log log (scene.spine);
    const auto lanes = scene.spine.layoutLanes();
    const auto timeline = scene.spine.timelineBounds();

    scene.press ({ timeline.getX(), 10.0f });
    scene.press ({ timeline.getRight(), 10.0f });
    scene.drag ({ timeline.getCentreX(), 300.0f });
    scene.release();
    scene.drag ({ timeline.getX(), 10.0f });
    EXPECT_THAT (log.lines, ElementsAre ("seek 0", "seek 100000", "seek 50000"));

    log.lines.clear();
    scene.press (lanes[0].removeButton.getCentre());
    scene.press (lanes[3].removeButton.getCentre());
    scene.press (lanes[1].muteButton.getCentre());
    scene.press (lanes[0].muteButton.getCentre());
    scene.press (lanes[0].timeline.getCentre());
    EXPECT_THAT (log.lines, ElementsAre ("remove host 0", "remove guest 1", "mute 1 on", "clear", "clear"));

    log.lines.clear();
    scene.press (lanes[1].fader.getCentre());
    scene.drag ({ 0.0f, 0.0f });
    scene.release();
    EXPECT_THAT (log.lines, ElementsAre ("gain 1 -24.0", "gain 1 12.0"));

    log.lines.clear();
    scene.press (lanes[2].label.getCentre());
    scene.drag (lanes[2].label.getCentre().translated (66.2f, 40.0f));
    scene.release();
    EXPECT_THAT (log.lines, ElementsAre ("select 0", "move 30000")) << "a tenth of the width";
}

TEST (Spine, AsksForSamplesWhereItLooksCloselyAndDropsWhatWasOvertaken)
{
    Scene scene;
    auto& host = scene.session.host;
    host.format.numFrames = 100 * takeFrames;

    for (auto& lane : host.peaks)
        lane = peaksOf (std::vector<float> ((size_t) host.format.numFrames), hostPeakBuckets);

    std::vector<SpineSpan> asked;
    scene.spine.onSamplesWanted = [&] (SpineSpan span) { asked.push_back (span); };
    const auto look = [&] (int64 start) { scene.spine.setView (showing (scene.spine.view(), { start, 1000 })); };
    const auto lookAndWait = [&] (int64 start, size_t wanted) {
        look (start);
        pumpUntil ([&] { return asked.size() >= wanted; }, 10000);
    };

    for (int64 start = 300000; start > 50000; start -= 10000)
        look (start);

    lookAndWait (50000, 1);
    ASSERT_EQ (asked.size(), 1u) << "nothing is read on the way";
    EXPECT_LE (asked[0].start, 50000);
    EXPECT_GE (asked[0].end(), 51000);
    look (50010);
    pumpUntil ([] { return false; }, 150);
    EXPECT_EQ (asked.size(), 1u) << "there is room on both sides";
    lookAndWait (900000, 2);
    ASSERT_EQ (asked.size(), 2u);

    // The second answer comes first: the one that was overtaken does not take its place, and is asked for anew.
    const auto read = [&] (SpineSpan span) {
        return HostSamples { host.file, span.start, { std::vector<float> ((size_t) span.length) } };
    };
    scene.spine.showSamples (read (asked[1]), asked[1]);
    scene.spine.showSamples (read (asked[0]), asked[0]);
    lookAndWait (50000, 3);
    EXPECT_EQ (asked.size(), 3u);
}

TEST (Spine, DrawsFadersOnTheLaneWhereTheStrokeBegan)
{
    Scene scene;
    Log log (scene.spine);
    const auto lanes = scene.spine.layoutLanes();
    scene.spine.setDrawFaderMode (true);
    const auto& timeline = lanes[1].timeline;

    scene.press ({ timeline.getX(), timeline.getY() });
    scene.drag ({ timeline.getRight(), timeline.getBottom() + 200.0f });
    scene.release();
    scene.press (lanes[0].timeline.getCentre());
    scene.drag ({ timeline.getX(), timeline.getY() });
    EXPECT_THAT (log.lines, ElementsAre ("draw 1 12.0 0 -1", "draw 1 -60.0 99999 0", "clear", "draw 1 12.0 0 -1"));

    scene.spine.onDrawGain = nullptr;
    scene.press (timeline.getCentre());
    EXPECT_THAT (scene.session.mixerAt (1).automation, testing::SizeIs (2)) << "nobody else writes it";
    scene.spine.setDrawFaderMode (false);
    scene.spine.onMixerGain = nullptr;
    scene.press (lanes[2].fader.getBottomLeft().translated (1.0f, -0.5f));
    EXPECT_LT (scene.session.mixerAt (2).gainDb, -55.0f);
}

TEST (Spine, PaintsItsLanesInTheirColours)
{
    Scene scene;
    const auto& palette = scene.theme.palette;
    auto& lane = scene.session.host.peaks[1];
    lane.sourceSamples = takeFrames;
    lane.minValues.assign (4096, -1.0f);
    lane.maxValues.assign (4096, 1.0f);
    scene.spine.playhead = takeFrames / 2;
    const auto at = [] (const juce::Image& image, juce::Point<float> p) {
        return image.getPixelAt ((int) p.x, (int) p.y);
    };
    const auto lanes = scene.spine.layoutLanes();
    const auto timeline = scene.spine.timelineBounds();
    const auto wave = lanes[1].timeline.getCentre().translated (30.0f, 10.0f);
    auto image = scene.picture();

    EXPECT_EQ (at (image, { 2.0f, 2.0f }), palette.ink);
    EXPECT_EQ (at (image, { 200.0f, 10.0f }), palette.panel);
    EXPECT_GT (at (image, wave).getGreen(), 120) << "the wave";
    EXPECT_EQ (at (image, { timeline.getCentreX() + 0.5f, 60.0f }), palette.accent) << "the playhead";
    const auto block = lanes[2].timeline.getTopLeft().translated (662.0f * 0.3f, 8.0f);
    const auto gap = lanes[2].timeline.getTopLeft().translated (662.0f * 0.45f, 8.0f);
    EXPECT_GT (at (image, block).getRed(), at (image, gap).getRed() + 20) << "a block and the gap between two";

    // A gain line at 0 dB, five sixths up, with its mute at the end.
    scene.session.mixerAt (2).automation = { { 0, 0.0f }, { takeFrames, 0.0f } };
    scene.session.mixerAt (2).muteAutomation = { { 0, false }, { 80000, true } };
    const auto& guestLane = lanes[2].timeline;
    const auto lineY = guestLane.getBottom() - 8.0f - (guestLane.getHeight() - 16.0f) * 5.0f / 6.0f;
    image = scene.picture();
    EXPECT_GT (at (image, { gap.x, lineY }).getRed(), at (image, gap).getRed() + 60) << "the gain line";
    const auto inSpan = guestLane.getTopLeft().translated (662.0f * 0.9f, 60.0f);
    const auto beforeSpan = guestLane.getTopLeft().translated (662.0f * 0.75f, 60.0f);
    EXPECT_GT (at (image, inSpan).getRed(), at (image, beforeSpan).getRed() + 20) << "the muted stretch";

    const auto unselected = at (image, block);
    scene.session.selectedGuest = scene.session.guests[0].id;
    scene.session.mixerAt (1).mute = true;
    image = scene.picture();
    EXPECT_GT (at (image, block).getRed(), unselected.getRed());
    EXPECT_NEAR (at (image, wave).getGreen(), at (image, wave).getRed(), 20) << "muted waves are grey";
    EXPECT_EQ (at (image, lanes[1].muteButton.getTopLeft().translated (4.0f, 4.0f)), palette.bad);

    scene.session.guests.clear();
    scene.session.host = {};
    image = scene.picture();
    EXPECT_EQ (at (image, wave), palette.ink) << "empty without a poly";
}

// W3C, Web Content Accessibility Guidelines 2.1, "contrast ratio" and "relative luminance".
double contrast (juce::Colour a, juce::Colour b)
{
    const auto luminance = [] (juce::Colour colour) {
        const auto linear = [] (float value) {
            return value <= 0.03928f ? value / 12.92 : std::pow ((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear (colour.getFloatRed()) + 0.7152 * linear (colour.getFloatGreen())
               + 0.0722 * linear (colour.getFloatBlue());
    };
    const auto [darker, lighter] = std::minmax ({ luminance (a), luminance (b) });
    return (lighter + 0.05) / (darker + 0.05);
}

TEST (Spine, ItsWordsStandOutFromTheirGround)
{
    constexpr double leastContrast = 4.5;
    Scene scene;
    const auto& p = scene.theme.palette;

    for (const auto ground : { p.background, p.ink, p.panel })
        for (const auto words : { p.text, p.muted, p.accent, p.accentBright, p.good, p.warn, p.bad })
            EXPECT_GE (contrast (words, ground), leastContrast) << words.toString() << " on " << ground.toString();

    for (const auto words : { p.text, p.muted, p.accentBright })
        EXPECT_GE (contrast (words, p.raised), leastContrast) << words.toString();

    for (const auto ground : { p.accent, p.warn, p.bad })
        EXPECT_GE (contrast (p.background, ground), leastContrast) << ground.toString();

    // The name of a block on the loudest wave.
    PeakLane loud { std::vector (2048, -3.0f), std::vector (2048, 3.0f), takeFrames };
    scene.session.guests[0].peaks = { loud, loud };
    const auto name = scene.spine.layoutLanes()[2].timeline.withTrimmedLeft (4.0f);
    const auto ground = scene.picture().getPixelAt ((int) std::ceil (name.getX()), (int) name.getCentreY());
    EXPECT_GE (contrast (p.text, ground), leastContrast) << ground.toString();
}

TEST (Spine, BearsAnySizeAndAnyTake)
{
    for (const auto& [width, height] : { std::pair (1, 1), std::pair (40, 9), std::pair (300, 2000) })
        for (const auto frames : { 0, 1, 2 })
        {
            Scene scene;
            scene.session.host.format.numFrames = frames;
            scene.session.guests[0].alignment.offsetSamples = std::numeric_limits<int64>::max() / 4;
            scene.session.mixerAt (1).automation = { { 0, 0.0f }, { 512, -70.0f } };
            scene.session.mixerAt (1).muteAutomation = { { 0, true }, { 512, false } };
            scene.spine.setSize (width, height);
            scene.spine.fileDragOver = true;
            EXPECT_TRUE (scene.picture().isValid());
            scene.press ({ 0.5f, 0.5f });
            scene.drag ({ 1.0f, 100.0f });
        }
}

}    // namespace ld::test
