#include "workspace/SpinePainter.h"

#include "workspace/SpineGround.h"
#include "workspace/SpineRuler.h"
#include "workspace/SpineText.h"
#include "workspace/WavePicture.h"

#include <algorithm>

namespace ld
{
namespace
{

using Area = juce::Rectangle<float>;
using juce::int64;

constexpr auto leftCentred = juce::Justification::centredLeft;
constexpr float leastScale = 0.88f;
constexpr float guestHeadingHeight = 41.0f;    // 5 more than the gap that the lanes leave for it

class SpinePainter
{
public:
    SpinePainter (juce::Graphics& graphics,
                  const LookAndFeel& lookAndFeel,
                  const Session& sessionToPaint,
                  Area bounds,
                  const SpineView& viewToPaint)
        : g (graphics), theme (lookAndFeel), palette (lookAndFeel.palette), session (sessionToPaint),
          view (viewToPaint), frame (layOutSpine (bounds, viewToPaint.timeline)),
          lanes (layOutLanes (sessionToPaint, bounds, viewToPaint.timeline)),
          window (laneWindow (sessionToPaint, bounds, viewToPaint.timeline)), visible (viewToPaint.timeline.visible()),
          length (takeLength (sessionToPaint))
    {
    }

    void paint()
    {
        fillAroundLanes (g, palette.ink, lanes, lanesArea());
        paintHeading();
        paintRuler();

        {
            const juce::Graphics::ScopedSaveState state (g);
            g.reduceClipRegion (lanesArea());
            const auto firstGuest = std::ranges::find_if (lanes, &SpineLane::isGuest);

            for (auto lane = lanes.begin(); lane != lanes.end(); ++lane)
                if (isInSight (*lane))
                    paintLane (*lane, lane == firstGuest);
        }

        paintOverview();
        paintLaneBar();
        paintPlayhead();
        paintFileHover();
    }

private:
    // With the heading of the guests, which reaches above its lane.
    [[nodiscard]] bool isInSight (const SpineLane& lane) const
    {
        const auto row = lane.timeline.withTop (lane.timeline.getY() - guestHeadingHeight);
        return g.clipRegionIntersects (row.withLeft (frame.labels.getX())
                                           .withRight (lane.removeButton.getRight() + 4.0f)
                                           .getSmallestIntegerContainer());
    }

    void paintLane (const SpineLane& lane, bool isFirstGuest)
    {
        fillLaneGround (g, palette, lane, view.isDrawing);

        if (isFirstGuest)
            paintGuestHeading (lane);

        if (! lane.isGuest)
            paintHostLane (lane);
        else if (const auto* guest = session.findGuest (lane.guestId))
            paintGuestLane (lane, *guest);
        else
            return;

        paintMixer (lane);
        paintButtons (lane);
    }

    void fill (juce::Colour colour, Area area)
    {
        g.setColour (colour);
        g.fillRect (area);
    }

    void write (const juce::String& text, const juce::Font& font, juce::Colour colour, Area area)
    {
        g.setColour (colour);
        g.setFont (font);
        g.drawText (text, area, leftCentred);
    }

    void fit (const juce::String& text, const juce::Font& font, juce::Colour colour, Area area)
    {
        g.setColour (colour);
        g.setFont (font);
        g.drawFittedText (text, area.toNearestInt(), leftCentred, 1, leastScale);
    }

    [[nodiscard]] juce::Font bold (float size) const { return theme.uiFont (size, juce::Font::bold); }
    [[nodiscard]] juce::Font plain (float size) const { return theme.uiFont (size, juce::Font::plain); }

    [[nodiscard]] bool hasChannel (const SpineLane& lane) const { return lane.mixerIndex < session.mixerCount(); }

    [[nodiscard]] bool isMuted (const SpineLane& lane) const
    {
        return hasChannel (lane) && session.mixerMuteAt (lane.mixerIndex, view.playhead);
    }

    void paintHeading()
    {
        fill (palette.panel, frame.labels);
        write (view.isDrawing ? "DRAW FADERS" : "CONFORM MAP",
               bold (12.0f),
               palette.muted,
               frame.labels.withHeight (frame.ruler.getHeight()));
    }

    void paintRuler()
    {
        const auto area = frame.ruler;
        g.setFont (theme.monoFont (13.0f));

        for (const auto& mark : rulerMarks (session.host, area, frame.timeline, view.timeline))
        {
            fill (palette.line, { mark.x, area.getBottom() - 5.0f, 1.0f, 5.0f });
            g.setColour (palette.text);
            g.drawText (mark.text,
                        mark.box,
                        juce::Justification (mark.justification.getFlags() | juce::Justification::verticallyCentred));
        }

        fill (palette.line, area.withTop (area.getBottom() - 1.0f));
    }

    // Where the take is seen whole, the last lane may run off below, as far as there is room.
    [[nodiscard]] juce::Rectangle<int> lanesArea() const
    {
        const auto clip = g.getClipBounds();
        const auto bottom = frame.overview.isEmpty() ? clip.getBottom() : (int) frame.timeline.getBottom();
        return clip.withTop ((int) frame.timeline.getY()).withBottom (bottom);
    }

    // The reference channel of the whole take, and which part of it is shown above.
    void paintOverview()
    {
        const auto& area = frame.overview;

        if (area.isEmpty())
            return;

        const SpineSpan whole { 0, length };
        const auto box = area.withTrimmedTop (4.0f);
        const auto from = xOfSample (box, visible.start, whole), to = xOfSample (box, visible.end(), whole);
        fill (palette.panel, box);

        if (const auto channel = (size_t) session.referenceChannel; channel < session.host.peaks.size())
            drawWave (g, waveShape (box, { session.host.peaks[channel] }, whole, waveReach), palette.muted);

        constexpr float narrowest = 4.0f;
        const auto shown = box.withLeft (from).withWidth (std::max (to - from, narrowest));
        fill (palette.accent.withAlpha (0.22f), shown);
        g.setColour (palette.accent);
        g.drawRect (shown, 1.0f);
        fill (palette.accentBright, { xOfSample (box, view.playhead, whole), box.getY(), 1.4f, box.getHeight() });
    }

    // Only where not all lanes are seen.
    void paintLaneBar()
    {
        if (window.last == 0)
            return;

        const auto& bar = frame.laneBar;
        const auto shown = (float) (window.total - window.last) / (float) window.total;
        const auto top = (float) window.first / (float) window.total;
        g.setColour (palette.panel);
        g.fillRoundedRectangle (bar, 3.0f);
        g.setColour (palette.muted);
        g.fillRoundedRectangle (
            bar.withY (bar.getY() + top * bar.getHeight()).withHeight (std::max (shown * bar.getHeight(), 12.0f)),
            3.0f);
    }

    void paintGuestHeading (const SpineLane& lane)
    {
        const auto& timeline = lane.timeline;
        const auto left = frame.labels.getX(), top = timeline.getY();
        fill (palette.ink,
              { left, top - guestHeadingHeight, timeline.getWidth() + SpineFrame::labelColumn, guestHeadingHeight });
        fill (palette.accent, { timeline.getX(), top - 2.0f, timeline.getWidth(), 2.0f });
        write ("MATCHED RECORDINGS", bold (13.0f), palette.accentBright, { left + 8.0f, top - 39.0f, 190.0f, 26.0f });
        write ("Each block is a source file; gaps and overlaps are preserved",
               plain (12.0f),
               palette.muted,
               { timeline.getX(), top - 39.0f, timeline.getWidth(), 26.0f });
    }

    // The name, and below it what else is to be said.
    void paintLabel (const SpineLane& lane, float inset, float nameSpace, juce::Colour detailColour, float detailSize)
    {
        const auto text = lane.isGuest ? guestLaneText (*session.findGuest (lane.guestId), lane.channel)
                                       : hostLaneText (session.host, lane.channel);
        const auto inner = std::max (lane.label.getHeight() - 2.0f * inset, 0.0f);

        if (lane.guestId == session.selectedGuest && lane.channel == view.chosenChannel)
            fill (palette.accent, lane.label.withWidth (3.0f).reduced (0.0f, 2.0f));

        const auto nameHeight = std::min (inner, nameSpace);
        const Area name (lane.label.getX() + 8.0f,
                         lane.label.getY() + inset,
                         std::max (lane.label.getWidth() - 16.0f, 0.0f),
                         nameHeight);
        fit (text.name, bold (14.0f), isMuted (lane) ? palette.muted : palette.text, name);
        fit (text.detail,
             bold (detailSize),
             detailColour,
             name.withY (name.getBottom()).withHeight (inner - nameHeight));
    }

    void paintWave (const SpineLane& lane, const WaveSource& wave, float inset, juce::Colour colour, float emphasis)
    {
        const auto& timeline = lane.timeline;
        const auto height = std::max (std::max (timeline.getHeight() - inset, 0.0f) - inset, 0.0f);
        const auto area = timeline.withY (timeline.getY() + inset).withHeight (height);
        const juce::Graphics::ScopedSaveState state (g);
        g.reduceClipRegion (timeline.withX (timeline.getX() - 2.0f)
                                .withRight (timeline.getRight() + 2.0f)
                                .getSmallestIntegerContainer());
        drawWave (g,
                  waveShape (area, wave, visible, waveReach * view.timeline.waveHeight),
                  colour.withAlpha (0.84f + 0.16f * emphasis));
    }

    // The samples of a poly's channel that are available for a close look: the reference channel, or what was read for it.
    [[nodiscard]] WaveSource hostWave (size_t channel) const
    {
        const auto& host = session.host;
        WaveSource wave { host.peaks[channel] };

        if (view.samples != nullptr && view.samples->file == host.file && channel < view.samples->channels.size())
        {
            wave.samples = view.samples->channels[channel];
            wave.firstSample = view.samples->start;
            wave.curve = channel < view.samples->curves.size() ? &view.samples->curves[channel] : nullptr;
        }
        else if ((int) channel == session.referenceChannel)
            wave.samples = host.referenceAudio;

        return wave;
    }

    void paintHostLane (const SpineLane& lane)
    {
        paintLabel (lane, 6.0f, 22.0f, palette.muted, 11.0f);

        if ((size_t) lane.channel < session.host.peaks.size())
            paintWave (
                lane, hostWave ((size_t) lane.channel), 8.0f, isMuted (lane) ? palette.muted : palette.good, 0.0f);
    }

    void paintGuestLane (const SpineLane& lane, const GuestClip& guest)
    {
        const auto isSelected = session.selectedGuest == guest.id;
        const auto isDoubtful = guest.alignment.needsManual || guest.isMissing;
        paintLabel (lane, 5.0f, 24.0f, isDoubtful ? palette.bad : palette.muted, 12.0f);
        const auto blocks = blocksOf (guest, session.host.format.sampleRate);

        for (const auto& block : blocks)
            paintBlock (blockBounds (lane.timeline, block.span, visible), isSelected, isDoubtful);

        if (! guest.peaks.empty())
        {
            const auto channel = (size_t) std::clamp (lane.channel, 0, (int) guest.peaks.size() - 1);
            WaveSource wave { guest.peaks[channel], guest.alignment.offsetSamples };

            if (channel < guest.channelAudio.size())
                wave.samples = guest.channelAudio[channel];

            paintWave (lane, wave, 7.0f, isMuted (lane) ? palette.muted : palette.warn, guest.waveEmphasis);
        }

        for (const auto& block : blocks)
            paintBlockName (blockBounds (lane.timeline, block.span, visible), block.file);

        if (! guest.matchPending)
            return;

        const auto& timeline = lane.timeline;
        const auto area =
            timeline.withX (timeline.getX() + 8.0f).withWidth (std::max (timeline.getWidth() - 16.0f, 0.0f));
        layPlate ("matching...", plain (11.0f), area, juce::Justification::centredRight);
        g.setColour (palette.accent);
        g.setFont (plain (11.0f));
        g.drawText ("matching...", area, juce::Justification::centredRight);
    }

    void paintBlock (Area block, bool isSelected, bool isDoubtful)
    {
        constexpr float corner = 4.0f;

        if (block.isEmpty())
            return;

        const auto ground = isDoubtful ? palette.bad : palette.warn;
        const auto edge = isDoubtful ? palette.bad : palette.accent;
        g.setColour (ground.withAlpha (isSelected ? 0.3f : 0.2f));
        g.fillRoundedRectangle (block, corner);
        g.setColour (isSelected ? palette.accentBright : edge.withAlpha (0.75f));
        g.drawRoundedRectangle (block, corner, isSelected ? 1.5f : 1.0f);
    }

    void paintBlockName (Area block, const juce::File& file)
    {
        constexpr float narrowestNamed = 52.0f;

        if (block.getWidth() < narrowestNamed)
            return;

        const Area area (block.getX() + 6.0f,
                         block.getY() + 2.0f,
                         block.getWidth() - 12.0f,
                         std::max (block.getHeight() - 4.0f, 0.0f));
        const auto name = file.getFileNameWithoutExtension();
        layPlate (name, bold (11.0f), area, leftCentred);
        fit (name, bold (11.0f), palette.text, area);
    }

    // Below words that stand on a wave: a loud one is as light as they are.
    void layPlate (const juce::String& words, const juce::Font& font, Area area, juce::Justification justification)
    {
        const Area size (std::min (juce::GlyphArrangement::getStringWidth (font, words), area.getWidth()),
                         std::min (font.getHeight() + 2.0f, area.getHeight()));
        g.setColour (palette.ink.withAlpha (wordPlateAlpha));
        g.fillRoundedRectangle (justification.appliedToRectangle (size, area).expanded (3.0f, 0.0f), 3.0f);
    }

    void paintMixer (const SpineLane& lane)
    {
        if (! lane.hasMixer || ! hasChannel (lane))
            return;

        const auto& channel = session.mixerAt (lane.mixerIndex);
        paintFader (lane);

        if (session.host.format.numFrames < 2)
            return;

        for (const auto& span : mutedSpans (channel.muteAutomation, length))
        {
            const auto from = std::max (xOfSample (lane.timeline, span.start, visible), lane.timeline.getX());
            const auto to = std::min (xOfSample (lane.timeline, span.end(), visible), lane.timeline.getRight());

            if (to > from || (span.start >= visible.start && span.end() <= visible.end()))
                fill (palette.bad.withAlpha (0.18f),
                      { from,
                        lane.timeline.getY() + 4.0f,
                        std::max (to - from, 1.0f),
                        std::max (lane.timeline.getHeight() - 8.0f, 0.0f) });
        }

        paintGainLine (lane, channel.automation);
    }

    void paintFader (const SpineLane& lane)
    {
        const auto& fader = lane.fader;
        g.setColour (palette.panel);
        g.fillRoundedRectangle (fader, 3.0f);
        g.setColour (palette.line);
        g.drawRoundedRectangle (fader, 3.0f, 1.0f);

        const auto level = std::clamp (session.mixerMeters[(size_t) lane.mixerIndex].load(), 0.0f, 1.0f);
        const auto meterHeight = fader.getHeight() * level;
        fill (palette.accent.withAlpha (0.45f),
              { fader.getX() + 1.0f, fader.getBottom() - meterHeight, 3.0f, meterHeight });

        const auto share = shareOfGain (session.mixerGainDbAt (lane.mixerIndex, view.playhead));
        const auto t = share < 0.0f ? 1.0f : 1.0f - std::min (share, 1.0f);
        g.setColour (isMuted (lane) ? palette.muted : palette.accentBright);
        g.fillRoundedRectangle (
            { fader.getX() - 2.0f, fader.getY() + t * fader.getHeight() - 5.0f, fader.getWidth() + 4.0f, 10.0f }, 2.0f);
    }

    // 0 at the lowest gain, 1 at the highest.
    [[nodiscard]] static float shareOfGain (float db) { return (db - lowestGainDb) / (highestGainDb - lowestGainDb); }

    void paintGainLine (const SpineLane& lane, const std::vector<MixAutomationPoint>& points)
    {
        const auto line = points.size() < 2 ? points : visibleGainLine (points, visible);

        if (points.size() < 2 || line.empty())
            return;

        const auto& timeline = lane.timeline;
        const auto placeOf = [&] (const MixAutomationPoint& point) {
            const auto share = std::clamp (shareOfGain (point.gainDb), 0.0f, 1.0f);
            return juce::Point<float> (xOfSample (timeline, point.sample, visible),
                                       timeline.getBottom() - 8.0f - share * (timeline.getHeight() - 16.0f));
        };
        juce::Path path;
        path.startNewSubPath (placeOf (line.front()));

        for (size_t i = 1; i < line.size(); ++i)
            path.lineTo (placeOf (line[i]));

        g.setColour (palette.accentBright.withAlpha (0.85f));
        g.strokePath (path, juce::PathStrokeType (1.4f));
    }

    void paintButtons (const SpineLane& lane)
    {
        if (lane.hasMixer)
            paintButton (lane.muteButton,
                         "M",
                         isMuted (lane) ? palette.bad : palette.raised,
                         isMuted (lane) ? palette.background : palette.text,
                         13.0f);

        paintButton (lane.removeButton, "-", palette.bad.withAlpha (0.88f), palette.background, 16.0f);
    }

    void paintButton (Area area, const juce::String& letter, juce::Colour ground, juce::Colour colour, float size)
    {
        g.setColour (ground);
        g.fillRoundedRectangle (area, 3.0f);
        g.setColour (colour);
        g.setFont (bold (size));
        g.drawText (letter, area, juce::Justification::centred);
    }

    void paintPlayhead()
    {
        const auto x = xOfSample (frame.timeline, view.playhead, visible);

        if (view.playhead >= 1 && x >= frame.timeline.getX() && x <= frame.timeline.getRight())
            fill (palette.accent, { x, frame.timeline.getY() - 2.0f, 1.4f, frame.timeline.getHeight() + 2.0f });
    }

    void paintFileHover()
    {
        if (! view.isFileOver)
            return;

        fill (palette.ink.withAlpha (0.1f), frame.timeline);
        g.setColour (palette.accent);
        g.drawRect (frame.timeline, 1.4f);
    }

    juce::Graphics& g;
    const LookAndFeel& theme;
    const Palette& palette;
    const Session& session;
    const SpineView& view;
    const SpineFrame frame;
    const std::vector<SpineLane> lanes;
    const LaneWindow window;
    const SpineSpan visible;
    const int64 length;
};

}    // namespace

void paintEmptySpine (juce::Graphics& g, const LookAndFeel& theme)
{
    g.fillAll (theme.palette.ink);
}

void paintSpine (
    juce::Graphics& g, const LookAndFeel& theme, const Session& session, Area bounds, const SpineView& view)
{
    if (session.host.format.valid)
        SpinePainter (g, theme, session, bounds, view).paint();
    else
        paintEmptySpine (g, theme);
}

}    // namespace ld
