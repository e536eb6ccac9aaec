#include "workspace/WavePicture.h"

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

void fillColumn (juce::Image::BitmapData& pixels, int x, float top, float bottom, juce::PixelARGB colour)
{
    const auto first = std::max ((int) std::floor (top), 0);
    const auto end = std::min ((int) std::ceil (bottom), pixels.height);

    for (int y = first; y < end; ++y)
    {
        const auto covered = std::min (bottom, (float) y + 1.0f) - std::max (top, (float) y);
        auto pixel = colour;

        if (covered < 1.0f)
            pixel.multiplyAlpha (std::max (covered, 0.0f));

        *reinterpret_cast<juce::PixelARGB*> (pixels.getPixelPointer (x, y)) = pixel;
    }
}

}    // namespace

std::vector<WaveColumn>
waveColumns (juce::Rectangle<float> area, const PeakLane& lane, juce::int64 length, juce::int64 offset)
{
    constexpr float overhang = 2.0f, reach = 0.42f;
    const auto count = std::min (lane.minValues.size(), lane.maxValues.size());
    std::vector<WaveColumn> columns;

    if (length < 1 || count == 0)
        return columns;

    const auto perBucket = (double) lane.sourceSamples / (double) std::max<size_t> (count - 1, 1);
    const auto yOf = [&] (float value) { return area.getCentreY() - finite (value) * area.getHeight() * reach; };

    for (size_t i = 0; i < count; ++i)
    {
        const auto sample = (double) i * perBucket + (double) offset;
        const auto x = area.getX() + area.getWidth() * (float) (sample / (double) length);

        if (x < area.getX() - overhang || x > area.getRight() + overhang)
            continue;

        const WaveColumn column { x, yOf (lane.maxValues[i]), yOf (lane.minValues[i]) };

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

    juce::Image image (juce::Image::ARGB, width, height, true, juce::SoftwareImageType());

    {
        juce::Image::BitmapData pixels (image, juce::Image::BitmapData::readWrite);
        const auto inPixels = [&] (float y) { return (y - (float) area.getY()) * scale; };
        WaveWalk walk (columns, 1.0f / scale);

        for (int x = 0; x < width; ++x)
        {
            const auto column = walk.over ((float) area.getX() + (float) x / scale);
            fillColumn (pixels, x, inPixels (column.top), inPixels (column.bottom), colour.getPixelARGB());
        }
    }

    g.setOpacity (1.0f);
    g.drawImageTransformed (
        image, juce::AffineTransform::scale (1.0f / scale).translated ((float) area.getX(), (float) area.getY()));
}

}    // namespace ld
