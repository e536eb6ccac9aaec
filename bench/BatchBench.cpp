#include "BenchInput.h"
#include "batch/BatchMatcher.h"
#include "batch/PairComparison.h"
#include "clocks/ShootMatch.h"
#include "sync/MfccSearch.h"
#include "sync/WaveformSearch.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <iostream>

// A batch without timecode, beside a plain loop over its pairs with the plain functions: every file loaded once, then each
// pair by itself. And with timecode. Files lie in the page cache. Times in seconds.

namespace
{

using ld::bench::BatchShoot;

double timed (const std::function<void()>& job)
{
    const auto start = std::chrono::steady_clock::now();
    job();
    return std::chrono::duration<double> (std::chrono::steady_clock::now() - start).count();
}

struct LoadedPoly
{
    std::vector<std::vector<float>> signals;    // the mixdown, then each channel
};

std::vector<float> loadMono (const juce::File& file)
{
    return ld::mixdown (ld::loadAllChannels (file, ld::bench::sampleRate));
}

ld::Alignment comparePlainly (const LoadedPoly& poly, const std::vector<float>& guest)
{
    constexpr auto rate = ld::bench::sampleRate;
    const auto& search = poly.signals.front();
    const auto found = ld::computeMfccOffsetBest (poly.signals, guest, rate, false);
    const auto refined = ld::refineAround (search, guest, found.offsetSamples, { rate, 4, 4 });
    ld::Alignment verdict;
    verdict.method = ld::Alignment::Method::waveform;
    verdict.offsetSamples = refined.found ? refined.lag : found.offsetSamples;
    verdict.confidence = found.zScore;
    verdict.needsManual = ! found.locked;
    verdict.detail = "MFCC z=" + juce::String (found.zScore, 1);
    return verdict;
}

std::vector<ld::Alignment> matchPlainly (const BatchShoot& shoot)
{
    std::vector<LoadedPoly> polys;
    std::vector<std::vector<float>> guests;
    std::vector<ld::Alignment> verdicts;

    for (const auto& file : shoot.polys)
    {
        auto channels = ld::loadAllChannels (file, ld::bench::sampleRate);
        auto mono = ld::mixdown (channels);
        channels.insert (channels.begin(), std::move (mono));
        polys.push_back ({ std::move (channels) });
    }

    for (const auto& file : shoot.guests)
        guests.push_back (loadMono (file));

    for (const auto& poly : polys)
        for (const auto& guest : guests)
            verdicts.push_back (comparePlainly (poly, guest));

    return verdicts;
}

std::vector<ld::Alignment> verdictsOf (const ld::MatchOutcome& outcome)
{
    std::vector<ld::Alignment> verdicts;

    for (const auto& comparison : outcome.comparisons)
        verdicts.push_back (comparison.guest.alignment);

    return verdicts;
}

struct Run
{
    double seconds = 0.0;
    std::vector<ld::Alignment> verdicts;
};

Run match (const BatchShoot& shoot, int workers)
{
    constexpr int rounds = 3;
    Run best;

    for (int i = 0; i < rounds; ++i)
    {
        ld::MatchOptions options;
        options.workers = workers;
        options.memoryBudget = 12e9;
        Run run;
        run.seconds = timed ([&] { run.verdicts = verdictsOf (ld::compareBatch (shoot.scans(), {}, options)); });

        if (i == 0 || run.seconds < best.seconds)
            best = std::move (run);
    }

    return best;
}

void report (const juce::String& name, double seconds, const juce::String& more = {})
{
    std::cout << name.paddedRight (' ', 44) << juce::String (seconds, 2).paddedLeft (' ', 8) << " s  " << more
              << std::endl;
}

juce::String times (double ratio)
{
    return juce::String (ratio, 2) + " times";
}

int countLocked (const std::vector<ld::Alignment>& verdicts)
{
    return (int) std::count_if (verdicts.begin(), verdicts.end(), [] (const auto& v) { return ! v.needsManual; });
}

void compareWithPlainLoop (const BatchShoot& shoot, const Run& run)
{
    std::vector<ld::Alignment> plain;
    const auto plainSeconds = timed ([&] { plain = matchPlainly (shoot); });
    report ("plain loop, one thread", plainSeconds, times (plainSeconds / run.seconds) + " as long");
    std::cout << "verdicts identical: " << (plain == run.verdicts ? "yes" : "NO") << ", " << countLocked (plain)
              << " of " << plain.size() << " locked" << std::endl;
}

// What proving the places adds to the comparison.
void reportProof (const juce::String& name, const BatchShoot& shoot, double compareSeconds)
{
    ld::MatchOptions options;
    options.workers = 1;
    const auto outcome = ld::compareBatch (shoot.scans(), {}, options);
    const auto seconds =
        timed ([&] { juce::ignoreUnused (ld::proveMatches (outcome.matches, outcome.comparisons, {}, options)); });
    report (name, seconds, juce::String (seconds / compareSeconds, 2) + " of the comparison's");
}

}    // namespace

int main()
{
    constexpr int polys = 8, guests = 8;

    const BatchShoot shoot (polys, guests, false);
    const auto one = match (shoot, 1);
    const auto two = match (shoot, 2);
    report ("8 polys x 8 files, one worker", one.seconds);
    report ("8 polys x 8 files, two workers", two.seconds, times (two.seconds / one.seconds));
    reportProof ("the same, proving their places", shoot, one.seconds);
    compareWithPlainLoop (shoot, one);

    const auto moreGuests = match (BatchShoot (polys, 2 * guests, false), 1);
    report ("8 polys x 16 files, one worker", moreGuests.seconds, times (moreGuests.seconds / one.seconds));
    const auto morePolys = match (BatchShoot (2 * polys, guests, false), 1);
    report ("16 polys x 8 files, one worker", morePolys.seconds, times (morePolys.seconds / one.seconds));

    const BatchShoot stamped (polys, guests, true);
    const auto locked = match (stamped, 1);
    const auto overlapSeconds = (double) stamped.overlapSeconds();
    report ("8 x 8 with timecode, one worker",
            locked.seconds,
            juce::String (overlapSeconds / locked.seconds, 0) + " x real time, "
                + juce::String (countLocked (locked.verdicts)) + " locked");
    reportProof ("the same, proving their places", stamped, locked.seconds);
    return 0;
}
