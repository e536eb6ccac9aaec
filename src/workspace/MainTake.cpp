#include "workspace/MainComponent.h"

#include "batch/Workers.h"
#include "media/BextIxml.h"
#include "session/GuestPlacing.h"
#include "workspace/MainText.h"

// The open take: opening it, reading what belongs to it, and the parallel search in which all of that ends.

namespace ld
{
namespace
{

constexpr auto aligningText = "Examining and lining up tracks  ";

std::vector<GuestClip> describeGuests (const std::vector<GuestClip>& guests)
{
    std::vector<GuestClip> described;
    std::transform (guests.begin(), guests.end(), std::back_inserter (described), describeGuest);
    return described;
}

std::vector<juce::File> filesOf (const std::vector<ScanFile>& scans)
{
    std::vector<juce::File> files;
    std::transform (
        scans.begin(), scans.end(), std::back_inserter (files), [] (const auto& scan) { return scan.file; });
    return files;
}

// What the work says about the places of a guest's files.
std::vector<FilePlace> placesOf (const GuestClip& guest, const BatchMatch& take)
{
    std::vector<FilePlace> places;

    for (const auto& file : filesOf (guest))
        for (const auto& scan : take.guests)
            if (scan.file == file)
            {
                places.push_back ({ file, scan.alignment });
                break;
            }

    return places;
}

LockedPlacements knownOf (const std::vector<FilePlace>& places)
{
    LockedPlacements known;

    for (const auto& place : places)
        if (! isUnsearched (place.place))
            known.try_emplace (place.file.getFullPathName(), place.place);

    return known;
}

}    // namespace

void MainComponent::openTake (int index)
{
    if (work.document().takes.empty())
        return;

    work.openTake (index);
    showWork();
    loadOpenTake();
}

void MainComponent::stepBatch (int by)
{
    if (! desk.isRunning (JobKind::scan) && ! desk.isRunning (JobKind::write))
        openTake (work.document().batchIndex + by);
}

void MainComponent::loadOpenTake()
{
    const auto& doc = work.document();
    const auto* const take = openTakeOf (doc);

    if (take == nullptr || desk.isAt (take->host.file))
        return;

    // Who opens a take may have brought its files back.
    surveyedState = -1;
    surveyedFiles.clear();

    startLoad (
        requestFor (*take),
        [this] { bringSession(); },
        [this, poly = take->host] (const juce::String& sentence) {
        // The take stays among the others, so that they can be reached and it can be found again.
        closeTake();

        {
            const juce::ScopedLock lock (sessionLock);
            session.host.file = poly.file;
        }

        fail (sentence);
        showWork();
        });
}

// A poly that the user has chosen: nothing changes where it cannot be read.
void MainComponent::loadHostAsync (const juce::File& host, std::vector<juce::File> guests)
{
    const auto& takes = work.document().takes;
    const auto known =
        std::ranges::find_if (takes, [&] (const auto& take) { return take.host.file == host; }) - takes.begin();

    if (known < (std::ptrdiff_t) takes.size())
        return openTake ((int) known);

    LoadRequest request;
    request.take.host.file = host;

    for (const auto& file : guests)
        request.take.guests.emplace_back().file = file;

    startLoad (
        request,
        [this, take = request.take]() mutable {
        copyIdentity (session.host, take.host);

        for (auto& scan : take.guests)
            for (const auto& guest : session.guests)
                for (const auto& piece : guest.pieces)
                    if (piece.file == scan.file)
                        copyIdentity (piece, scan);

        // What cannot be read belongs to nothing yet.
        std::erase_if (take.guests, [] (const auto& scan) { return ! scan.format.valid; });
        perform (openPoly (work.document(), take), ! work.document().takes.empty());
        },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::startLoad (const LoadRequest& request,
                               std::function<void()> loaded,
                               std::function<void (const juce::String&)> failed)
{
    const auto host = request.take.host.file;
    preview.stop();
    resetPlayhead();
    showStatus ("Reading " + host.getFileName() + "...");
    beginProgress ("Examining " + host.getFileName() + "...", -1.0);
    desk.start (
        JobKind::load,
        { host },
        [asked = request] (const JobDesk::Progress& progress) mutable {
        asked.isWanted = progress.wanted;
        return loadTake (asked);
        },
        [this, loaded = std::move (loaded), failed] (LoadedTake take) {
        if (take.result.failed())
            failed (take.result.getErrorMessage());
        else
            commitTake (std::move (take), loaded);
    },
        failed);
    showSketchOf (request);
}

void MainComponent::commitTake (LoadedTake take, const std::function<void()>& loaded)
{
    clearInspector();

    {
        const juce::ScopedLock lock (sessionLock);
        session.swapTake (*take.session);
    }

    keepSketchOf (std::move (take.session));
    desk.discard (std::exchange (shelf, {}));
    onTrial.clear();

    // Who has looked closer at the sketch goes on there.
    if (sketch != nullptr)
        hideSketch();
    else
        spine.showWholeTake();

    const auto before = std::exchange (announcement, {});
    announce (takeLoadedText (session.guests));

    if (before.isNotEmpty())
        announce (before);

    loaded();
    refreshTake();
    showAnnouncement();

    // Who goes through the list with the keys goes on there.
    if (! takeList.hasKeyboardFocus (true))
        grabKeyboardFocus();

    searchGuestsAsync (take.pending);
}

void MainComponent::addFilesAsync (const std::vector<ScanFile>& scans)
{
    if (scans.empty())
        return;

    desk.start (
        JobKind::search,
        filesOf (scans),
        [host = describeHost (session.host), guests = describeGuests (session.guests), scans] (
            const JobDesk::Progress& progress) { return addGuests (host, guests, scans, progress.wanted); },
        [this] (AddedGuests added) { commitAddedGuests (std::move (added)); },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::commitAddedGuests (AddedGuests added)
{
    const auto* const take = openTakeOf (work.document());

    if (take == nullptr)
        return;

    std::vector<GuestClip> replaced;
    clearInspector();

    {
        const juce::ScopedLock lock (sessionLock);

        for (auto& guest : added.guests)
        {
            guest.lanesHidden = guest.matchPending && std::ranges::any_of (filesOf (guest), [this] (const auto& file) {
                                    return onTrial.contains (file.getFullPathName());
                                });

            if (! guest.lanesHidden && session.findGuest (guest.id) == nullptr)
            {
                session.selectedGuest = guest.id;
                spine.chosenChannel = 0;
            }

            if (auto* const live = session.findGuest (guest.id))
            {
                std::swap (*live, guest);
                replaced.push_back (std::move (guest));
            }
            else
                session.guests.push_back (std::move (guest));
        }

        dressSession (session, work.document(), *take);
    }

    desk.discard (std::move (replaced));
    searchGuestsAsync (added.pending);
    refreshTake();
}

void MainComponent::searchGuestsAsync (const std::vector<juce::Uuid>& ids)
{
    const auto* const take = openTakeOf (work.document());

    if (ids.empty() || take == nullptr || ! session.host.format.valid)
        return;

    struct Search
    {
        GuestClip guest;
        std::vector<FilePlace> places;    // as the work has them now
    };

    std::vector<Search> searches;
    std::vector<juce::File> files;

    for (const auto& id : ids)
        if (const auto* guest = session.findGuest (id))
        {
            searches.push_back ({ describeGuest (*guest), placesOf (*guest, *take) });
            const auto own = filesOf (*guest);
            files.insert (files.end(), own.begin(), own.end());
        }

    const auto count = (int) searches.size();
    beginProgress (countText (aligningText, 0, count), 0.0);

    const auto search = [this,
                         count,
                         searches = std::move (searches),
                         described = describeHost (session.host),
                         reference = session.referenceChannel] (const JobDesk::Progress& progress) {
        const auto host = readHostForSearch (described, reference);
        std::atomic<int> done { 0 };

        runWorkers (count, [&] (int i) {
            if (! progress.wanted())
                return;

            const auto& [guest, places] = searches[(size_t) i];
            const auto label = guestName (guest);
            const auto told = [&] (float, const juce::String& phase) {
                progress.post (
                    [this, text = label + juce::String::fromUTF8 (" · ") + phase] { progressBar.setText (text); });
            };
            const auto placed = std::make_shared<PlacedGuest> (placeGuest (host, guest, knownOf (places), told));
            progress.post ([this, placed, places = places] { commitPlace (std::move (*placed), places); });
            progress.post ([this, number = ++done, count] {
                updateProgress ((double) number / count, countText (aligningText, number, count));
            });
        });

        return true;
    };

    desk.start (
        JobKind::search,
        std::move (files),
        search,
        [] (bool) {},
        [this] (const juce::String& sentence) { fail (sentence); });
}

// known   what the work said of the guest's files when the search began
void MainComponent::commitPlace (PlacedGuest placed, const std::vector<FilePlace>& known)
{
    const auto id = placed.guest.id;
    const auto alignment = placed.alignment;
    auto* const live = session.findGuest (id);
    const auto* const take = openTakeOf (work.document());
    const auto files = filesOf (placed.guest);
    desk.leave (files);

    // By now the guest may be gone.
    if (live == nullptr || take == nullptr)
        return desk.discard (std::move (placed));

    // Or the user has set its place: the result is dropped, and the guest is laid out at that place.
    if (placesOf (*live, *take) != known)
        return bringSession();

    const auto poly = session.host.file;
    const auto isStranger = alignment.needsManual && live->lanesHidden && ! offsetByStamps (session.host, *live);

    if (isStranger)
    {
        showStatus (alignedText (alignment, true));
        return amend (withoutFiles (work.document(), poly, files));
    }

    GuestClip replaced;
    auto found = filePlacesOf (placed.guest);
    const auto hasAudio = ! placed.guest.channelAudio.empty();

    {
        const juce::ScopedLock lock (sessionLock);
        replaced = takeOverPlace (*live, std::move (placed));

        if (! hasAudio)
            moveGuest (*live, known);

        if (session.selectedGuest.isNull() && spine.chosenChannel < 0)
        {
            session.selectedGuest = id;
            spine.chosenChannel = 0;
        }
    }

    desk.discard (std::move (replaced));
    showStatus (alignedText (alignment, false));

    if (hasAudio)
        amend (withPlaces (work.document(), poly, found));

    refreshTake();
}

}    // namespace ld
