#include "workspace/MainComponent.h"

// A take is seen before its audio is read: its lanes at once, with their curves where they were read ahead.

namespace ld
{
namespace
{

// A take that is read ahead holds its audio for a moment; what the user asks for comes first.
constexpr double largestShareAhead = 0.15;    // of the machine's memory

bool isSmallEnough (const BatchMatch& take)
{
    return audioBytesOf (take) <= largestShareAhead * 1024.0 * 1024.0 * juce::SystemStats::getMemorySizeInMegabytes();
}

// Empty where it was given up.
std::unique_ptr<Session> readCurves (const LoadRequest& request)
{
    if (! isSmallEnough (request.take))
        return sketchTake (request);

    auto loaded = loadTake (request);
    return loaded.session != nullptr && request.isWanted() ? withoutAudio (std::move (loaded.session)) : nullptr;
}

}    // namespace

LoadRequest MainComponent::requestFor (const BatchMatch& take) const
{
    const auto channel = work.document().referenceChannel;
    LoadRequest request;
    request.take = take;

    if (channel >= 0)
        request.referenceChannel = channel;

    return request;
}

// The load of this take is under way. Without a take yet, the welcome card says so.
void MainComponent::showSketchOf (const LoadRequest& request)
{
    *aheadIsWanted = false;

    if (! showsTake())
        return;

    if (auto known = sketches.give (request.take))
        return showSketch (std::move (known));

    desk.start (
        JobKind::side,
        {},
        [request] (const auto&) { return sketchTake (request); },
        [this, host = request.take.host.file] (std::unique_ptr<Session> made) {
        if (made != nullptr && desk.isRunning (JobKind::load) && desk.isAt (host))
            showSketch (std::move (made));
        },
        [] (const juce::String&) {});
}

// Nothing on it can be edited; what was selected on the take before is not there any more.
void MainComponent::showSketch (std::unique_ptr<Session> made)
{
    selectGuest (juce::Uuid::null(), -1);
    spine.session = made.get();
    sketch = std::move (made);
    spine.showWholeTake();
    spine.isReading = true;
    updateTransportDisplay();
    repaint();
    spine.repaint();
}

void MainComponent::hideSketch()
{
    if (sketch == nullptr)
        return;

    spine.session = &session;
    spine.isReading = false;
    sketch.reset();
    spine.setView (spine.view());
    repaint();
}

// A take that was left: its curves stay, its audio goes, by a job, as that may take long.
void MainComponent::keepSketchOf (std::unique_ptr<Session> left)
{
    const auto* const take = findTake (work.document(), left->host.file);

    if (take == nullptr || ! left->host.format.valid)
        return desk.discard (std::move (left));

    desk.start (
        JobKind::side,
        {},
        [held = std::make_shared<std::unique_ptr<Session>> (std::move (left))] (const auto&) {
        return withoutAudio (std::move (*held));
        },
        [this, take = *take] (std::unique_ptr<Session> kept) { sketches.keep (take, std::move (kept)); },
        [] (const juce::String&) {});
}

// Called by the timer: the takes beside the open one, one after another, while nothing else is to be done.
void MainComponent::readAhead()
{
    if (isReadingAhead || desk.isBusy() || preview.playing || ! session.host.format.valid)
        return;

    const auto& doc = work.document();

    for (const auto index : { doc.batchIndex + 1, doc.batchIndex - 1 })
        if (juce::isPositiveAndBelow (index, (int) doc.takes.size()) && ! sketches.knows (doc.takes[(size_t) index]))
            return readAheadOf (doc.takes[(size_t) index]);
}

void MainComponent::readAheadOf (const BatchMatch& take)
{
    isReadingAhead = true;
    aheadIsWanted = std::make_shared<std::atomic<bool>> (true);
    auto request = requestFor (take);
    request.isWanted = [wanted = aheadIsWanted] { return wanted->load(); };
    const auto finish = [this, take, wanted = aheadIsWanted] (std::unique_ptr<Session> made) {
        isReadingAhead = false;

        // What was given up may be tried again; what cannot be read is not.
        if (*wanted)
            sketches.keep (take, std::move (made));
    };
    desk.start (
        JobKind::side,
        {},
        [request] (const auto&) { return readCurves (request); },
        finish,
        [finish] (const auto&) { finish ({}); });
}

}    // namespace ld
