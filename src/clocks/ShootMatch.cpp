#include "clocks/ShootMatch.h"

#include "batch/Workers.h"
#include "clocks/OneWorld.h"
#include "clocks/PlaceVerdict.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace ld
{
namespace
{

using juce::int64;

constexpr double stampDoubt = 2.5, soundDoubt = 0.5;    // s
constexpr double sameLook = 0.3;                        // s: two rough places that are one
constexpr double leastShared = 1.0;                     // s

// Thrown by a worker when the result is no longer wanted; ends the proof.
struct GivenUp
{
};

// Takes the verdicts of the comparison through the rounds in which they are proved.
class Proving
{
public:
    Proving (const std::vector<BatchMatch>& polys,
             const std::vector<PairVerdict>& verdicts,
             const ShootProgress& progressToTell,
             const MatchOptions& optionsToUse)
        : options (optionsToUse), progress (progressToTell), table (makeDayTable (polys, verdicts, optionsToUse))
    {
    }

    void run()
    {
        lookWhereComparisonsSay();
        learnClocks (table);
        lookAtWeakComparisons();
        lookForWrongHours();
        lookForLostRecorders();

        // What is newly found may show where else to look.
        constexpr int rounds = 3;

        for (int round = 0; round < rounds; ++round)
        {
            learnClocks (table);

            if (! lookWhereClocksSay())
                break;
        }

        learnClocks (table);
        refuseContradictions (table);
        learnClocks (table);
        followJumps();
        learnClocks (table);
    }

    [[nodiscard]] ShootMatch collect (const std::vector<BatchMatch>& polys) const
    {
        ShootMatch shoot;

        for (const auto& poly : polys)
            shoot.matches.emplace_back().host = poly.host;

        for (const auto& pair : table.pairs)
        {
            auto verdict = judgePair (table, pair);
            auto& match = shoot.matches[pair.poly];
            ProvedPair proved {
                match.host.file, table.files[pair.file].scan, verdict.accepted, pair.first, pair.firstAccepted
            };
            proved.guest.alignment = std::move (verdict.alignment);

            if (proved.accepted)
            {
                match.guests.push_back (proved.guest);
                match.score = std::max (match.score, pair.first.confidence);
                match.reason = "global waveform comparison";
            }

            shoot.comparisons.push_back (std::move (proved));
        }

        std::copy_if (table.recorders.begin(),
                      table.recorders.end(),
                      std::back_inserter (shoot.recorders),
                      [] (const RecorderClock& clock) { return clock.files > 0; });
        std::sort (shoot.recorders.begin(), shoot.recorders.end(), [] (auto& a, auto& b) { return a.key < b.key; });
        return shoot;
    }

private:
    struct Look
    {
        size_t pair;
        int64 lag;
        double doubt;    // s
    };

    static int workersOf (const MatchOptions& matching)
    {
        return matching.workers > 0 ? matching.workers : defaultWorkers();
    }

    [[nodiscard]] bool hasLooked (const DayPair& pair, int64 lag) const
    {
        return std::any_of (pair.looked.begin(), pair.looked.end(), [&] (int64 known) {
            return std::abs ((double) (known - lag)) < sameLook * table.rateOf (pair);
        });
    }

    // Returns how many of them lie on a line that was not known before.
    int lookAt (const std::vector<Look>& looks, const juce::String& what)
    {
        std::vector<PairTask> tasks;

        for (const auto& look : looks)
        {
            auto& pair = table.pairs[look.pair];
            pair.looked.push_back (look.lag);
            tasks.push_back ({ pair.hostSource, pair.guestSource, look.lag, look.doubt });
        }

        auto found = 0;

        try
        {
            auto proofs = provePairs (table.sources, tasks, provingOptions (what));

            for (size_t i = 0; i < looks.size(); ++i)
                found += take (table.pairs[looks[i].pair], std::move (proofs[i])) ? 1 : 0;
        }
        catch (const std::bad_alloc&)
        {
            // What the comparison said stands.
        }

        return found;
    }

    static bool take (DayPair& pair, PairProof proof)
    {
        const auto surenessOf = [] (const PairProof& p) { return p.line ? p.line->log10FalseAlarms : 1.0; };
        const auto isNew = proof.isSure() && ! pair.isProved();

        if (! pair.proof || surenessOf (proof) < surenessOf (*pair.proof))
            pair.proof = std::move (proof);

        return isNew;
    }

    void lookWhereComparisonsSay()
    {
        std::vector<Look> looks;

        for (size_t i = 0; i < table.pairs.size(); ++i)
            if (const auto& first = table.pairs[i].first; ! first.needsManual)
                looks.push_back (
                    { i, first.offsetSamples, first.method == Alignment::Method::timecode ? stampDoubt : soundDoubt });

        lookAt (looks, "Following the sound");
    }

    [[nodiscard]] std::vector<bool> provedFiles() const
    {
        std::vector<bool> isProved (table.files.size());

        for (const auto& pair : table.pairs)
            if (pair.isProved())
                isProved[pair.file] = true;

        return isProved;
    }

    // A score says little of a place: the best of those that were too low are tried for files that have none.
    void lookAtWeakComparisons()
    {
        constexpr size_t mostOfAFile = 3;
        constexpr float leastScore = 3.5f;
        const auto isProved = provedFiles();
        std::map<size_t, std::vector<size_t>> weak;

        for (size_t i = 0; i < table.pairs.size(); ++i)
            if (const auto& pair = table.pairs[i]; ! isProved[pair.file] && pair.first.needsManual
                                                   && pair.first.method == Alignment::Method::waveform
                                                   && pair.first.confidence >= leastScore)
                weak[pair.file].push_back (i);

        std::vector<Look> looks;

        for (auto& [file, pairs] : weak)
        {
            std::stable_sort (pairs.begin(), pairs.end(), [&] (auto a, auto b) {
                return table.pairs[a].first.confidence > table.pairs[b].first.confidence;
            });
            pairs.resize (std::min (pairs.size(), mostOfAFile));

            for (const auto i : pairs)
                looks.push_back ({ i, table.pairs[i].first.offsetSamples, soundDoubt });
        }

        lookAt (looks, "Following the sound of a doubtful pair");
    }

    [[nodiscard]] double sharedSeconds (const DayPair& pair, double startSeconds) const
    {
        const auto& host = table.hostOf (pair);
        const auto& guest = table.sources[pair.guestSource];
        return std::min (startSeconds * host.rate + (double) guest.length, (double) host.length) / host.rate
               - std::max (startSeconds, 0.0);
    }

    // Recorders with stamps of which no file has proved a place.
    [[nodiscard]] std::map<size_t, std::vector<size_t>> lostRecorders() const
    {
        std::map<size_t, std::vector<size_t>> lost;

        for (size_t i = 0; i < table.pairs.size(); ++i)
        {
            const auto& pair = table.pairs[i];
            const auto recorder = table.files[pair.file].recorder;

            if (table.recorders[recorder].files == 0 && table.stampLag (pair)
                && table.sources[pair.guestSource].channels > 0)
                lost[recorder].push_back (i);
        }

        return lost;
    }

    // A machine whose clock was set to another zone, or by hand: full hours first, with the longest that they share.
    void lookForWrongHours()
    {
        constexpr int mostHours = 12;
        constexpr size_t mostOfAnHour = 2;
        constexpr double secondsPerHour = 3600.0, enoughShared = 5.0;
        std::vector<Look> looks;

        for (const auto& [recorder, pairs] : lostRecorders())
            for (int hour = -mostHours; hour <= mostHours; ++hour)
            {
                std::vector<std::pair<double, size_t>> shared;

                for (const auto i : pairs)
                    if (const auto seconds =
                            sharedSeconds (table.pairs[i], *table.stampLag (table.pairs[i]) + hour * secondsPerHour);
                        hour != 0 && seconds >= enoughShared)
                        shared.emplace_back (-seconds, i);

                std::sort (shared.begin(), shared.end());
                shared.resize (std::min (shared.size(), mostOfAnHour));

                for (const auto& [seconds, i] : shared)
                    looks.push_back ({ i,
                                       (int64) ((*table.stampLag (table.pairs[i]) + hour * secondsPerHour)
                                                * table.rateOf (table.pairs[i])),
                                       stampDoubt });
            }

        // One pair is looked at in one place at a time; each hour makes a round of its own where pairs recur.
        while (! looks.empty())
        {
            std::vector<Look> round, later;
            std::set<size_t> taken;

            for (const auto& look : looks)
                (taken.insert (look.pair).second ? round : later).push_back (look);

            lookAt (round, "Looking whether the recorder was an hour off");
            looks = std::move (later);
        }

        learnClocks (table);
    }

    // A timecode that has nothing to do with the day's is no timecode: a few files are searched by their sound alone.
    void lookForLostRecorders()
    {
        constexpr size_t mostFiles = 3;
        std::vector<ScanFile> scans;
        std::set<juce::String> wanted;

        for (const auto& [recorder, pairs] : lostRecorders())
        {
            std::map<size_t, double> files;

            for (const auto i : pairs)
                files[table.pairs[i].file] = -table.files[table.pairs[i].file].seconds;

            std::vector<std::pair<double, size_t>> longest;

            for (const auto& [file, seconds] : files)
                longest.emplace_back (seconds, file);

            std::sort (longest.begin(), longest.end());
            longest.resize (std::min (longest.size(), mostFiles));

            for (const auto& [seconds, file] : longest)
                wanted.insert (table.files[file].scan.file.getFullPathName());
        }

        if (wanted.empty())
            return;

        for (const auto& poly : table.polys)
            scans.push_back (poly.scan);

        for (const auto& file : table.files)
            if (wanted.contains (file.scan.file.getFullPathName()))
                scans.push_back (withoutStamp (file.scan));

        searchByContent (scans);
    }

    static ScanFile withoutStamp (ScanFile scan)
    {
        scan.ixml.hasTimestamp = false;
        scan.ixml.timestampSamples = 0;
        scan.bext.timeReference = 0;
        return scan;
    }

    void searchByContent (const std::vector<ScanFile>& scans)
    {
        const auto told = [&] (int done, int total) {
            if (progress)
                progress ("Searching recorders with a timecode of their own", done, total);
        };
        std::map<std::pair<juce::String, juce::String>, Alignment> found;

        for (const auto& comparison : compareBatch (scans, told, options).comparisons)
            if (! comparison.guest.alignment.needsManual)
                found[{ comparison.poly.getFullPathName(), comparison.guest.file.getFullPathName() }] =
                    comparison.guest.alignment;

        std::vector<Look> looks;

        for (size_t i = 0; i < table.pairs.size(); ++i)
        {
            const auto& pair = table.pairs[i];
            const auto at = found.find ({ table.polys[pair.poly].scan.file.getFullPathName(),
                                          table.files[pair.file].scan.file.getFullPathName() });

            if (at != found.end())
                looks.push_back ({ i, at->second.offsetSamples, soundDoubt });
        }

        lookAt (looks, "Following the sound");
    }

    void followJumps()
    {
        // The slopes depend on the jumps, and the jumps on the slopes.
        const auto rough = knownSlopes();
        findProofJumps (rough);
        forgetLoneJumps (table);
        freeSlopes (rough);
        learnClocks (table);

        try
        {
            finishProofs (table.sources, knownSlopes(), provingOptions ("Looking for jumps of its clock"));
            forgetLoneJumps (table);
            joinContinuations (table);
        }
        catch (const std::bad_alloc&)
        {
            // The lines stand as they are.
        }
    }

    [[nodiscard]] std::vector<KnownSlope> knownSlopes()
    {
        std::vector<KnownSlope> known;
        std::set<size_t> jumpy;

        for (const auto& pair : table.pairs)
            if (pair.isProved() && ! pair.proof->line->jumps.empty())
                jumpy.insert (table.files[pair.file].recorder);

        for (auto& pair : table.pairs)
            if (const auto recorder = table.files[pair.file].recorder; pair.isProved())
                known.push_back ({ &*pair.proof,
                                   slopeOfFile (table.recorders[recorder], readClock (table, pair)),
                                   jumpy.contains (recorder) });

        return known;
    }

    [[nodiscard]] ProofOptions provingOptions (const juce::String& what) const
    {
        ProofOptions proving;
        proving.workers = workersOf (options);
        proving.onRead = options.onRead;

        proving.progress = [this, what] (int done, int total, size_t guest) {
            if (! options.isWanted())
                throw GivenUp();

            if (progress)
                progress (what + ": " + recorderNameOf (guest), done, total);
        };

        return proving;
    }

    // The folder and the beginning of the name say it to whoever put the files there.
    [[nodiscard]] juce::String recorderNameOf (size_t source) const
    {
        const auto& file = table.sources[source].file;
        return file.getParentDirectory().getFileName() + "/" + file.getFileName();
    }

    bool lookWhereClocksSay()
    {
        std::vector<Look> looks;

        for (size_t i = 0; i < table.pairs.size(); ++i)
        {
            const auto& pair = table.pairs[i];
            const auto place = expectedPlace (table, pair);
            const auto continued =
                pair.isProved() || table.files[pair.file].stampSeconds ? std::nullopt : continuedLag (table, pair);
            const auto isExpected = place && place->sharedSeconds >= leastShared;

            if (pair.isProved() || (! isExpected && ! continued))
                continue;

            const auto lag = (int64) std::llround (isExpected ? place->lag : *continued);

            if (! hasLooked (pair, lag))
                looks.push_back ({ i, lag, isExpected ? place->doubtSeconds : soundDoubt });
        }

        return lookAt (looks, "Looking where the clock expects it") > 0;
    }

    const MatchOptions& options;
    const ShootProgress& progress;
    DayTable table;
};

}    // namespace

ShootMatch proveMatches (const std::vector<BatchMatch>& polys,
                         const std::vector<PairVerdict>& pairs,
                         const ShootProgress& progress,
                         const MatchOptions& options)
{
    Proving proving (polys, pairs, progress, options);
    proving.run();
    return proving.collect (polys);
}

ShootMatch matchShoot (const std::vector<ScanFile>& scans, const ShootProgress& progress, const MatchOptions& options)
{
    const auto told = [&] (int done, int total) {
        if (progress)
            progress ("Comparing every ISO against every poly", done, total);
    };
    const auto outcome = compareBatch (scans, told, options);

    if (! options.isWanted())
        return {};

    try
    {
        return proveMatches (outcome.matches, outcome.comparisons, progress, options);
    }
    catch (const GivenUp&)
    {
        return {};
    }
}

}    // namespace ld
