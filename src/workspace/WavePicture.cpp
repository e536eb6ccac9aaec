#include "workspace/WavePicture.h"

#include "media/VectorClones.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

float finite (float value) noexcept
{
    return std::isfinite (value) ? value : 0.0f;
}

juce::Rectangle<float> boundsOf (const std::vector<WaveColumn>& columns)
{
    auto top = columns.front().top, bottom = columns.front().bottom;

    for (const auto& column : columns)
    {
        top = std::min (top, column.top);
        bottom = std::max (bottom, column.bottom);
    }

    return juce::Rectangle<float>::leftTopRightBottom (columns.front().x, top, columns.back().x, bottom);
}

/** Walks along the columns, a pixel at a time. */
class WaveWalk
{
public:
    WaveWalk (const std::vector<WaveColumn>& columnsToWalk, float widthOfPixel)
        : columns (columnsToWalk), pixelWidth (widthOfPixel)
    {
    }

    // The curve over the pixel that starts at x: a column that lies in it, or a straight line between its neighbours.
    [[nodiscard]] WaveColumn over (float x)
    {
        while (next + 1 < columns.size() && columns[next].x < x)
            ++next;

        const auto& right = columns[next];

        if (next == 0 || right.x < x + pixelWidth)
            return right;

        const auto& left = columns[next - 1];
        const auto share = (x + 0.5f * pixelWidth - left.x) / (right.x - left.x);
        return { x, left.top + share * (right.top - left.top), left.bottom + share * (right.bottom - left.bottom) };
    }

private:
    const std::vector<WaveColumn>& columns;
    const float pixelWidth;
    size_t next = 0;
};

// Samples for each described bucket.
double bucketLength (const PeakLane& peaks) noexcept
{
    const auto count = std::min (peaks.minValues.size(), peaks.maxValues.size());
    return (double) peaks.sourceSamples / (double) std::max<size_t> (count > 0 ? count - 1 : 0, 1);
}

constexpr double furthestMarked = 1.0 / 6.0;    // samples to a pixel

/** Turns a lane's curves and samples into pixels. */
struct WavePlotter
{
    const juce::Rectangle<float> area;
    const WaveSource& source;
    const SpineSpan visible;
    const float reach;

    [[nodiscard]] float yOf (float value) const noexcept
    {
        return std::clamp (
            area.getCentreY() - finite (value) * area.getHeight() * reach, area.getY(), area.getBottom());
    }

    // The samples that what is visible of the lane needs, one more on either side.
    [[nodiscard]] SpineSpan needed() const noexcept
    {
        const auto from = std::clamp<juce::int64> (visible.start - source.offset - 1, 0, source.peaks.sourceSamples);
        const auto to = std::clamp<juce::int64> (visible.end() - source.offset + 2, from, source.peaks.sourceSamples);
        return { from, to - from };
    }

    [[nodiscard]] bool hasAllSamples() const noexcept
    {
        const auto span = needed();
        return span.start >= source.firstSample
               && span.end() <= source.firstSample + (juce::int64) source.samples.size();
    }

    [[nodiscard]] float sampleAt (juce::int64 laneSample) const noexcept
    {
        return source.samples[(size_t) (laneSample - source.firstSample)];
    }

    // With the sample ahead, so that one column reaches the next.
    [[nodiscard]] std::optional<PeakRange> rangeOfSamples (double from, double to) const noexcept
    {
        const auto span = needed();
        const auto first = std::max ((juce::int64) std::floor (from) - 1, span.start);
        const auto end = std::min ((juce::int64) std::ceil (to), span.end());

        if (first >= end)
            return {};

        return ld::rangeOfSamples (
            source.samples.subspan ((size_t) (first - source.firstSample), (size_t) (end - first)));
    }

    [[nodiscard]] std::optional<PeakRange> rangeOfCurve (double from, double to) const noexcept
    {
        return rangeOver (*source.curve, from - (double) source.firstSample, to - (double) source.firstSample);
    }

    // Between two samples on the straight line; outside the lane as at its end.
    [[nodiscard]] float valueAt (double laneSample) const noexcept
    {
        const auto span = needed();
        const auto before = (juce::int64) std::floor (laneSample);
        const auto at = [&] (juce::int64 i) { return finite (sampleAt (std::clamp (i, span.start, span.end() - 1))); };
        return std::lerp (at (before), at (before + 1), (float) (laneSample - (double) before));
    }

    // Of the line from sample to sample, over at most one of them.
    [[nodiscard]] std::optional<PeakRange> rangeOfLine (double from, double to) const noexcept
    {
        const auto [low, high] =
            std::minmax ({ valueAt (from), valueAt (std::min (std::ceil (from), to)), valueAt (to) });
        return PeakRange { low, high };
    }

    [[nodiscard]] std::vector<juce::Point<float>> samplePoints() const
    {
        const auto span = needed();
        std::vector<juce::Point<float>> points;

        for (auto i = span.start; i < span.end(); ++i)
            points.emplace_back (xOfSample (area, i + source.offset, visible), yOf (sampleAt (i)));

        return points;
    }

    // A column for each pixel over which the lane runs, at least as high as a line is.
    template <typename RangeOver>
    [[nodiscard]] std::vector<WaveColumn> columnsOver (const RangeOver& rangeOver) const
    {
        constexpr float thinnest = 1.0f;
        const auto perPixel = samplesPerPixel (area, visible);
        const auto start = (double) (visible.start - source.offset);
        const auto count = (int) std::ceil (area.getWidth());
        std::vector<WaveColumn> columns;
        columns.reserve ((size_t) count);

        for (int i = 0; i < count; ++i)
        {
            const auto from = start + (double) i * perPixel, to = from + perPixel;

            if (to <= 0.0 || from >= (double) source.peaks.sourceSamples)
                continue;

            if (const auto range = rangeOver (from, to))
            {
                const auto top = yOf (range->high), bottom = yOf (range->low);
                const auto widening = std::max (thinnest - (bottom - top), 0.0f) / 2.0f;
                columns.push_back ({ area.getX() + (float) i,
                                     std::max (top - widening, area.getY()),
                                     std::min (bottom + widening, area.getBottom()) });
            }
        }

        return columns;
    }

    [[nodiscard]] std::vector<WaveColumn> buckets() const
    {
        constexpr float overhang = 2.0f;
        const auto& peaks = source.peaks;
        const auto count = std::min (peaks.minValues.size(), peaks.maxValues.size());
        const auto perBucket = bucketLength (peaks);
        std::vector<WaveColumn> columns;

        for (size_t i = 0; i < count; ++i)
        {
            const auto sample = (double) i * perBucket + (double) (source.offset - visible.start);
            const auto x = area.getX() + area.getWidth() * (float) (sample / (double) visible.length);

            if (x < area.getX() - overhang || x > area.getRight() + overhang)
                continue;

            const WaveColumn column { x, yOf (peaks.maxValues[i]), yOf (peaks.minValues[i]) };

            if (columns.empty() || std::floor (columns.back().x) != std::floor (x))
            {
                columns.push_back (column);
                continue;
            }

            columns.back().top = std::min (columns.back().top, column.top);
            columns.back().bottom = std::max (columns.back().bottom, column.bottom);
        }

        return columns;
    }
};

// A row of pixels: the colour, premultiplied, as far as each column covers the row. Tops and bottoms are in pixels.
LD_VECTOR_CLONES void fillRow (
    std::span<juce::uint32> pixels, const float* tops, const float* bottoms, float row, juce::uint32 colour) noexcept
{
    constexpr juce::uint32 everySecond = 0x00ff00ff;
    const auto even = colour & everySecond, odd = (colour >> 8) & everySecond;

    for (size_t x = 0; x < pixels.size(); ++x)
    {
        const auto covered = std::min (bottoms[x], row + 1.0f) - std::max (tops[x], row);
        const auto share = (juce::uint32) (256.0f * std::max (covered, 0.0f));
        pixels[x] = (((even * share) >> 8) & everySecond) | ((odd * share) & ~everySecond);
    }
}

}    // namespace

bool wantsSamples (const PeakLane& peaks, double samplesPerPixel) noexcept
{
    return samplesPerPixel < (double) finestPeakBucket && samplesPerPixel < bucketLength (peaks);
}

WaveShape waveShape (juce::Rectangle<float> area, const WaveSource& source, SpineSpan visible, float reach)
{
    const WavePlotter plot { area, source, visible, reach };
    const auto perPixel = samplesPerPixel (area, visible);

    if (visible.length < 1 || source.peaks.minValues.empty() || area.getWidth() <= 0.0f)
        return {};

    if (bucketLength (source.peaks) <= perPixel)
        return { .columns = plot.buckets() };

    const auto over = [&] (const auto& rangeIn) { return WaveShape { .columns = plot.columnsOver (rangeIn) }; };

    if (wantsSamples (source.peaks, perPixel) && plot.hasAllSamples())
    {
        if (perPixel <= furthestMarked)
            return { .points = plot.samplePoints() };

        if (perPixel < 1.0)
            return over ([&] (double from, double to) { return plot.rangeOfLine (from, to); });

        if (source.curve != nullptr && perPixel >= 2.0 * (double) closeBucket)
            return over ([&] (double from, double to) { return plot.rangeOfCurve (from, to); });

        return over ([&] (double from, double to) { return plot.rangeOfSamples (from, to); });
    }

    if (const auto* const level = levelFor (source.peaks, perPixel))
        return over ([&] (double from, double to) { return rangeOver (*level, from, to); });

    return { .columns = plot.buckets() };
}

void drawWave (juce::Graphics& g, const WaveShape& shape, juce::Colour colour)
{
    fillWave (g, shape.columns, colour);

    if (shape.points.size() < 2)
        return;

    juce::Path path;
    path.startNewSubPath (shape.points.front());

    for (const auto& point : shape.points)
        path.lineTo (point);

    g.setColour (colour);
    g.strokePath (path, juce::PathStrokeType (1.2f));

    constexpr float mark = 4.0f;

    for (const auto& point : shape.points)
        g.fillEllipse (juce::Rectangle<float> (mark, mark).withCentre (point));
}

void fillWave (juce::Graphics& g, const std::vector<WaveColumn>& columns, juce::Colour colour)
{
    if (columns.empty())
        return;

    const auto area = boundsOf (columns).getSmallestIntegerContainer();
    const auto scale = g.getInternalContext().getPhysicalPixelScaleFactor();
    const auto width = (int) std::ceil ((float) area.getWidth() * scale);
    const auto height = (int) std::ceil ((float) area.getHeight() * scale);

    if (width < 1 || height < 1 || ! g.clipRegionIntersects (area))
        return;

    const auto inPixels = [&] (float y) { return (y - (float) area.getY()) * scale; };
    std::vector<float> tops ((size_t) width), bottoms ((size_t) width);
    WaveWalk walk (columns, 1.0f / scale);

    for (int x = 0; x < width; ++x)
    {
        const auto column = walk.over ((float) area.getX() + (float) x / scale);
        tops[(size_t) x] = inPixels (column.top);
        bottoms[(size_t) x] = inPixels (column.bottom);
    }

    juce::Image image (juce::Image::ARGB, width, height, false, juce::SoftwareImageType());

    {
        juce::Image::BitmapData pixels (image, juce::Image::BitmapData::writeOnly);

        for (int y = 0; y < height; ++y)
            fillRow ({ reinterpret_cast<juce::uint32*> (pixels.getLinePointer (y)), (size_t) width },
                     tops.data(),
                     bottoms.data(),
                     (float) y,
                     colour.getPixelARGB().getNativeARGB());
    }

    g.setOpacity (1.0f);
    g.drawImageTransformed (
        image, juce::AffineTransform::scale (1.0f / scale).translated ((float) area.getX(), (float) area.getY()));
}

}    // namespace ld
