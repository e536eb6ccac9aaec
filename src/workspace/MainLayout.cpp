#include "workspace/MainLayout.h"

#include <algorithm>

namespace ld
{
namespace
{

using Bounds = juce::Rectangle<int>;

constexpr int takeListWidth = 280, panelGap = 8, narrowestTimeline = 900;

void layOutWelcome (MainLayout& at, int w, int h)
{
    at.openPolys = Bounds (w / 2 - 280, h / 2 + 86, 172, 42);
    at.openFolder = Bounds (w / 2 - 98, h / 2 + 86, 186, 42);
    at.openSession = Bounds (w / 2 + 98, h / 2 + 86, 172, 42);
    at.output = Bounds (w - 274, 18, 250, 34);
}

// right is where the band ends: the window's edge, or the picture.
void layOutTopBand (MainLayout& at, int w, int right)
{
    constexpr int leastHeadline = 240, captionWidth = 120;
    at.combine = Bounds (right - 190, 22, 170, 40);
    at.save = Bounds (right - 318, 22, 118, 40);
    at.addIso = Bounds (right - 470, 22, 142, 40);
    at.openPolys = Bounds (right - 584, 22, 104, 40);
    at.reset = Bounds (right - 718, 22, 124, 40);

    // The least of the buttons gives way to the name of the take, where there is a picture.
    const auto hasRoom = right - 818 >= 24;
    at.exporting = hasRoom ? Bounds (right - 818, 22, 90, 40) : Bounds (24, 130, 90, 30);

    const auto left = hasRoom ? at.exporting.getX() : at.reset.getX();
    const auto room = left - 12 - 24;
    at.headline = room >= leastHeadline ? Bounds (24, 34, std::min (std::max (w, 820) - 720, room), 32)
                                        : Bounds (24, 62, right - 48, 20);

    if (left >= 24 + captionWidth)
        at.caption = Bounds (24, 10, captionWidth, 20);
}

void layOutTransport (MainLayout& at, int right, int row)
{
    at.rewind = Bounds (24, row, 48, 32);
    at.backFive = Bounds (78, row, 54, 32);
    at.play = Bounds (138, row, 82, 32);
    at.forwardFive = Bounds (226, row, 54, 32);
    at.monitorMix = Bounds (right - 152, row, 128, 32);
    at.drawFaders = Bounds (at.monitorMix.getX() - 118, row, 110, 32);
}

// Beside the takes where they have a row, else in that of the transport.
void layOutEdits (MainLayout& at, int right, int row, const MainFace& face)
{
    const auto isOwnRow = face.hasSeveralTakes || face.hasPicture || face.hasResults;
    const auto end = isOwnRow ? right - 24 : at.drawFaders.getX() - 8;
    const auto y = isOwnRow ? 92 : row, height = isOwnRow ? 30 : 32;
    at.redo = Bounds (end - 62, y, 62, height);
    at.undo = Bounds (end - 130, y, 62, height);
    auto left = at.undo.getX();

    if (face.hasMissing)
    {
        at.findMissing = Bounds (left - 134, y, 126, height);
        left = at.findMissing.getX();
    }

    if (face.hasResults)
    {
        at.results = Bounds (left - 84, y, 76, height);
        left = at.results.getX();
    }

    if (face.hasSeveralTakes)
    {
        at.takes = Bounds (left - 60, y, 56, height);
        at.batchLabel.setRight (std::min (at.batchLabel.getRight(), at.takes.getX()));
    }

    const auto transportEnd = isOwnRow ? at.drawFaders.getX() : left;
    at.transport = Bounds (294, row, std::max (transportEnd, 424) - 304, 32);
}

void layOutWorkspace (MainLayout& at, int w, int h, const MainFace& face)
{
    const auto right = face.hasPicture ? w - 232 : w;
    auto row = face.hasPicture ? 170 : 92;

    if (face.hasPicture)
    {
        at.picture = Bounds (w - 244, 12, 220, 124);
        at.pictureTimecode = Bounds (w - 244, 140, 110, 22);
    }

    if (face.hasSeveralTakes)
    {
        at.previousTake = Bounds (24, 92, 64, 30);
        at.nextTake = Bounds (94, 92, 64, 30);
        at.batchLabel = Bounds (174, 92, w - (face.hasPicture ? 620 : 400), 30);
    }

    if (face.hasSeveralTakes || face.hasResults)
        row = std::max (row, 130);

    layOutTopBand (at, w, right);
    layOutTransport (at, right, row);
    layOutEdits (at, right, row, face);
    at.output = Bounds (w - 286, h - 33, 262, 28);

    const auto below = std::max (h - row - 42, 0);
    at.spine = Bounds (16, row + 42, std::max (w - 32, 0), std::max (below - (face.showsInspector ? 162 : 36), 0));

    if (face.hasSeveralTakes && face.showsTakes && hasRoomForTakes (w))
    {
        at.takeList = at.spine.removeFromLeft (takeListWidth);
        at.spine.removeFromLeft (panelGap);
    }

    if (face.showsResults)
    {
        at.runPanel = at.spine.removeFromBottom (at.spine.getHeight() * 9 / 20);
        at.spine.removeFromBottom (panelGap);
    }

    if (face.showsInspector)
        at.inspector = Bounds (0, h - 162, w, 126);
}

}    // namespace

bool hasRoomForTakes (int width) noexcept
{
    return width - 32 - takeListWidth - panelGap >= narrowestTimeline;
}

MainLayout layOutMain (int width, int height, const MainFace& face)
{
    MainLayout at;
    const auto progress = Bounds (24, height - 31, std::max (width, 454) - 334, 22);
    at.progressBar = progress.withTrimmedRight (84);
    at.cancel = progress.withLeft (progress.getRight() - 76);
    at.status = Bounds (24, height - 32, std::max (width, 430) - 330, 26);

    if (face.hasWork)
        layOutWorkspace (at, width, height, face);
    else
        layOutWelcome (at, width, height);

    return at;
}

WelcomeCard layOutWelcomeCard (int width, int height)
{
    using Area = juce::Rectangle<float>;
    const auto w = std::min ((float) width - 64.0f, 720.0f);
    const auto x = (float) width / 2.0f - w / 2.0f, y = (float) height / 2.0f - 183.0f;
    return { .card = Area (x, y, w, 330.0f),
             .title = Area (x, y + 18.0f, w, 112.0f),
             .rule = Area (x + w / 2.0f - 48.0f, y + 118.0f, 96.0f, 2.0f),
             .heading = Area (x, y + 112.0f, w, 52.0f),
             .hint = Area (x, y + 164.0f, w, 36.0f) };
}

}    // namespace ld
