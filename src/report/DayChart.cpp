#include "report/DayChart.h"

#include "report/Svg.h"

#include <algorithm>
#include <map>

namespace ld
{
namespace
{

// Units of the picture, which is as wide as the text of a page.
constexpr double pictureWidth = 1040.0, rowNameWidth = 185.0, rowHeight = 13.0, labelHeight = 11.0, letters = 9.0;
constexpr double leastBlock = 2.0, right = pictureWidth - 4.0;

constexpr size_t mostTakes = 24;    // of a picture; with more of them nobody finds the own one

struct ShownTake
{
    const ReportTake* take = nullptr;
    double from = 0.0, to = 0.0;    // s of the day
};

// From seconds of the day to a place in the picture: takes in scale, time between them shortened.
class TimeScale
{
public:
    explicit TimeScale (const std::vector<ShownTake>& takes)
    {
        constexpr double leastSeconds = 0.1;
        auto total = 0.0;

        for (const auto& take : takes)
            total += std::max (take.to - take.from, leastSeconds);

        const auto longestGap = 0.4 * total / (double) takes.size();
        auto position = longestGap;
        knots.push_back ({ takes.front().from - longestGap, 0.0 });

        for (const auto& take : takes)
        {
            // Polys that run at the same time share their stretch.
            if (const auto gap = take.from - knots.back().seconds; knots.size() > 1)
                position += std::clamp (gap, 0.0, longestGap);

            if (take.from > knots.back().seconds || knots.size() == 1)
                knots.push_back ({ take.from, position });

            const auto end = std::max (take.to, take.from + leastSeconds);

            if (end > knots.back().seconds)
            {
                position += end - knots.back().seconds;
                knots.push_back ({ end, position });
            }
        }

        knots.push_back ({ knots.back().seconds + longestGap, position + longestGap });
    }

    [[nodiscard]] double from() const { return knots.front().seconds; }
    [[nodiscard]] double to() const { return knots.back().seconds; }

    [[nodiscard]] double xOf (double seconds) const
    {
        const auto after = std::ranges::upper_bound (knots, seconds, {}, &Knot::seconds);
        const auto& b = after == knots.begin() ? knots[1] : after == knots.end() ? knots.back() : *after;
        const auto& a = *(&b - 1);
        const auto share = b.seconds > a.seconds ? (seconds - a.seconds) / (b.seconds - a.seconds) : 0.0;
        const auto position = a.position + std::clamp (share, 0.0, 1.0) * (b.position - a.position);
        return rowNameWidth + position / knots.back().position * (right - rowNameWidth);
    }

private:
    struct Knot
    {
        double seconds, position;
    };

    std::vector<Knot> knots;
};

// Labels beside each other, in as many lines as it takes that none touches another.
class LabelLines
{
public:
    // Returns the line, from 0, that the label goes into.
    size_t lineFor (double x, double width)
    {
        constexpr double gap = 4.0;
        const auto free = std::ranges::find_if (ends, [&] (double end) { return end + gap <= x; });
        const auto line = (size_t) (free - ends.begin());

        if (free == ends.end())
            ends.push_back (0.0);

        ends[line] = x + width;
        return line;
    }

    [[nodiscard]] size_t count() const { return ends.size(); }

private:
    std::vector<double> ends;
};

struct Label
{
    double x = 0.0;
    size_t line = 0;
    juce::String text;
};

Label placeLabel (LabelLines& lines, double x, const juce::String& text)
{
    constexpr double widest = 170.0;
    const auto fitting = fittingText (text, letters, widest);
    const auto width = textWidth (fitting, letters);
    const auto left = std::min (x, right - width);
    return { left, lines.lineFor (left, width), fitting };
}

const char* classOf (Standing standing)
{
    switch (standing)
    {
        case Standing::placed: return "placed";
        case Standing::doubtful: return "doubtful";
        default: return "out";
    }
}

class DayPicture
{
public:
    DayPicture (const std::vector<ShownTake>& shown, const std::vector<ReportBlock>& looseBlocks, bool isByClock)
        : takes (shown), scale (shown), hasClock (isByClock)
    {
        for (const auto& take : takes)
            for (const auto& block : take.take->blocks)
                addBlock (block, take.from);

        if (hasClock)
            for (const auto& block : looseBlocks)
                addBlock (block, 0.0);
    }

    [[nodiscard]] juce::String draw (const juce::String& name)
    {
        const auto top = drawNames();
        drawColumns (top);
        auto y = top;
        drawRow ("Polys", y);

        for (const auto& take : takes)
            drawBlock (take.from, take.to, y, "poly", take.take->poly);

        for (const auto& [recorder, blocks] : rows)
        {
            y += rowHeight;
            drawRow (recorder, y);

            for (const auto& block : blocks)
                drawBlock (block.from, block.to, y, classOf (block.standing), block.name);
        }

        return svg.picture (pictureWidth, drawTimes (y + rowHeight + 2.0), name);
    }

private:
    void addBlock (ReportBlock block, double takeStart)
    {
        block.from += takeStart;
        block.to += takeStart;

        if (block.to > scale.from() && block.from < scale.to())
            rows[block.recorder].push_back (block);
    }

    // Returns where the rows begin.
    double drawNames()
    {
        LabelLines lines;
        std::vector<Label> labels;

        for (const auto& take : takes)
            labels.push_back (placeLabel (lines, scale.xOf (take.from), nameOf (*take.take)));

        for (const auto& label : labels)
            svg.text (label.x, labelHeight * (double) (label.line + 1) - 2.0, label.text, "name");

        return labelHeight * (double) lines.count() + 3.0;
    }

    void drawColumns (double top)
    {
        const auto height = rowHeight * (double) (rows.size() + 1);

        for (const auto& take : takes)
            svg.box (scale.xOf (take.from), top, widthOf (take.from, take.to), height, "column");
    }

    // Returns the height of the picture.
    double drawTimes (double top)
    {
        LabelLines lines;
        std::vector<Label> labels;

        for (const auto& take : takes)
            labels.push_back (placeLabel (lines, scale.xOf (take.from), timeLabel (take.from, true)));

        for (const auto& take : takes)
            svg.line (scale.xOf (take.from), top - 2.0, scale.xOf (take.from), top + 1.0, "axis");

        for (const auto& label : labels)
            svg.text (label.x, top + labelHeight * (double) (label.line + 1) - 1.0, label.text, "time");

        return top + labelHeight * (double) lines.count() + 3.0;
    }

    void drawRow (const juce::String& name, double y)
    {
        const auto known = name.isEmpty() ? juce::String ("Other files") : name;
        svg.text (0.0, y + rowHeight - 3.5, fittingText (known, letters, rowNameWidth - 8.0), "row");
        svg.line (0.0, y + rowHeight, right, y + rowHeight, "grid");
    }

    void drawBlock (double from, double to, double y, const char* cssClass, const juce::String& hint)
    {
        svg.box (scale.xOf (from), y + 2.0, widthOf (from, to), rowHeight - 4.0, cssClass, hint);
    }

    [[nodiscard]] double widthOf (double from, double to) const
    {
        return std::max (scale.xOf (to) - scale.xOf (from), leastBlock);
    }

    const std::vector<ShownTake>& takes;
    TimeScale scale;
    bool hasClock;
    std::map<juce::String, std::vector<ReportBlock>> rows;    // by recorder
    Svg svg;
};

std::vector<ShownTake> takesByClock (const SoundReport& report)
{
    std::vector<ShownTake> takes;

    for (const auto& take : report.takes)
        if (take.startSeconds)
            takes.push_back ({ &take, *take.startSeconds, *take.startSeconds + take.seconds });

    std::ranges::stable_sort (takes, {}, &ShownTake::from);
    return takes;
}

std::vector<ShownTake> takesWithoutClock (const SoundReport& report)
{
    constexpr double gapSeconds = 1.0;
    std::vector<ShownTake> takes;
    auto position = 0.0;

    for (const auto& take : report.takes)
        if (! take.startSeconds)
        {
            takes.push_back ({ &take, position, position + take.seconds });
            position += take.seconds + gapSeconds;
        }

    return takes;
}

}    // namespace

std::vector<ReportPicture> drawDay (const SoundReport& report)
{
    std::vector<ReportPicture> pictures;
    const auto draw = [&] (const std::vector<ShownTake>& takes, bool isByClock) {
        const auto parts = (takes.size() + mostTakes - 1) / mostTakes;

        for (size_t part = 0; part < parts; ++part)
        {
            const std::vector<ShownTake> some (takes.begin() + (juce::int64) (part * takes.size() / parts),
                                               takes.begin() + (juce::int64) ((part + 1) * takes.size() / parts));
            const auto caption = isByClock
                                     ? timeLabel (some.front().from, false) + " to " + timeLabel (some.back().to, false)
                                     : juce::String ("Takes without timecode, one after another");
            pictures.push_back ({ caption, DayPicture (some, report.looseBlocks, isByClock).draw (caption) });
        }
    };
    draw (takesByClock (report), true);
    draw (takesWithoutClock (report), false);
    return pictures;
}

}    // namespace ld
