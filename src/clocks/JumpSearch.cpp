#include "clocks/JumpSearch.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace ld
{
namespace
{

using juce::int64;

constexpr double sameJumpSeconds = 0.00025;
constexpr double longestPathSeconds = 0.035;    // no two ways of a sound on a set differ by more: 12 m
constexpr double surePeak = 0.3;

// The lag, with the slope taken off, at which the largest peaks of some windows crowd; how many windows do.
struct Crowd
{
    double lag = 0.0;
    int windows = 0;
};

Crowd crowdOf (const std::vector<const LagWindow*>& windows, double slope, double tolerance)
{
    Crowd best;
    auto bestHeight = 0.0;

    for (const auto* candidate : windows)
        for (const auto& peak : candidate->peaks)
        {
            const auto lag = peak.lag - slope * candidate->x;
            Crowd crowd { 0.0, 0 };
            auto height = 0.0;

            for (const auto* window : windows)
                for (const auto& other : window->peaks)
                    if (std::abs (other.lag - slope * window->x - lag) < tolerance)
                    {
                        ++crowd.windows;
                        height += std::abs ((double) other.height);
                        crowd.lag += other.lag - slope * window->x;
                        break;
                    }

            crowd.lag /= std::max (crowd.windows, 1);

            if (height > bestHeight)
            {
                bestHeight = height;
                best = crowd;
            }
        }

    return best;
}

struct Confirmation
{
    int agreeing = 0, opposing = 0;    // channels
};

Confirmation
hear (const PairProof& proof, const std::vector<JumpWitness>& witnesses, const LineStretch& a, const LineStretch& b)
{
    constexpr double nearSeconds = 30.0;
    constexpr int fewestWindows = 2;
    const auto rate = (double) proof.search.rate;
    const auto slope = proof.line->slope;
    std::map<int, std::pair<std::vector<const LagWindow*>, std::vector<const LagWindow*>>> byChannel;

    for (const auto& [channel, window] : witnesses)
    {
        if (channel == proof.hostChannel)
            continue;

        if (window.x <= a.toX && window.x >= std::max (a.fromX, a.toX - nearSeconds * rate))
            byChannel[channel].first.push_back (&window);
        else if (window.x >= b.fromX && window.x <= std::min (b.toX, b.fromX + nearSeconds * rate))
            byChannel[channel].second.push_back (&window);
    }

    Confirmation confirmation;
    const auto tolerance = sameJumpSeconds * rate;

    for (const auto& [channel, sides] : byChannel)
    {
        const auto before = crowdOf (sides.first, slope, tolerance), after = crowdOf (sides.second, slope, tolerance);

        if (before.windows < fewestWindows || after.windows < fewestWindows)
            continue;

        const auto isSame = std::abs (after.lag - before.lag - (b.lagAtZero - a.lagAtZero)) < 1.5 * tolerance;
        ++(isSame ? confirmation.agreeing : confirmation.opposing);
    }

    return confirmation;
}

double heightAround (const PairProof& proof, const LineStretch& stretch)
{
    auto sum = 0.0;
    auto count = 0;

    for (const auto& window : proof.windows)
        if (window.x >= stretch.fromX && window.x <= stretch.toX)
            for (const auto& peak : window.peaks)
                if (std::abs (peak.lag - stretch.lagAtZero - proof.line->slope * window.x)
                    < sameJumpSeconds * proof.search.rate)
                {
                    sum += std::abs ((double) peak.height);
                    ++count;
                    break;
                }

    return sum / std::max (count, 1);
}

bool isConfirmed (const PairProof& proof,
                  const std::vector<JumpWitness>& witnesses,
                  const LineStretch& a,
                  const LineStretch& b)
{
    constexpr int enoughWindows = 4;

    if (std::abs (b.lagAtZero - a.lagAtZero) > longestPathSeconds * proof.search.rate)
        return true;

    if (std::min (heightAround (proof, a), heightAround (proof, b)) >= surePeak)
        return true;

    const auto confirmation = hear (proof, witnesses, a, b);

    if (confirmation.agreeing + confirmation.opposing == 0)
        return std::min (a.windows, b.windows) >= enoughWindows;

    return confirmation.agreeing >= confirmation.opposing;
}

// Two stretches become one; the place is that of the one that more windows bear out.
void joinStretches (PairProof& proof, size_t first)
{
    auto& stretches = proof.line->stretches;
    auto& a = stretches[first];
    const auto& b = stretches[first + 1];
    a.lagAtZero = a.windows >= b.windows ? a.lagAtZero : b.lagAtZero;
    a.windows = std::max (a.windows, b.windows);
    a.toX = b.toX;
    stretches.erase (stretches.begin() + (std::ptrdiff_t) first + 1);
}

// Speech without its lows: their slow waves fit at any lag.
std::vector<float> emphasised (const std::vector<float>& samples)
{
    constexpr float weight = 0.95f;
    std::vector<float> out (samples.size());

    for (size_t i = 1; i < samples.size(); ++i)
        out[i] = samples[i] - weight * samples[i - 1];

    return out;
}

std::vector<float> readSilencePadded (const SourceAudio& audio, int channel, int64 start, int64 count)
{
    std::vector<float> stretch ((size_t) count);
    const auto from = std::clamp<int64> (start, 0, audio.length());
    const auto to = std::clamp<int64> (start + count, from, audio.length());

    if (to > from)
    {
        const auto part = audio.readChannel (channel, from, to - from);
        std::copy (part.begin(), part.end(), stretch.begin() + (from - start));
    }

    return stretch;
}

}    // namespace

bool dropUnconfirmedJumps (PairProof& proof, const std::vector<JumpWitness>& witnesses)
{
    auto& stretches = proof.line->stretches;
    auto wasDropped = false;

    for (size_t i = 0; i + 1 < stretches.size();)
    {
        if (isConfirmed (proof, witnesses, stretches[i], stretches[i + 1]))
        {
            ++i;
            continue;
        }

        joinStretches (proof, i);
        wasDropped = true;
    }

    return wasDropped;
}

double findCut (const std::vector<LagSource>& sources, const PairProof& proof, size_t stretch)
{
    const auto& a = proof.line->stretches[stretch];
    const auto& b = proof.line->stretches[stretch + 1];
    const auto middle = 0.5 * (a.toX + b.fromX);
    const auto& hostSource = sources[proof.task.host];
    const auto& guestSource = sources[proof.task.guest];
    const SourceAudio host (hostSource.file, hostSource.rate), guest (guestSource.file, guestSource.rate);

    if (! host.isOpen() || ! guest.isOpen())
        return middle;

    // Windows reach over the jump: it can lie anywhere from the middle of the one to that of the other, and a little beyond.
    constexpr double marginSeconds = 1.0, longestSeconds = 60.0;
    const auto rate = (double) hostSource.rate;
    const auto from = (int64) std::max (a.toX - marginSeconds * rate, middle - longestSeconds * rate);
    const auto count = (int64) std::min (b.fromX + marginSeconds * rate, middle + longestSeconds * rate) - from;

    if (count < 2)
        return middle;

    // The lag drifts on the way by a few samples, which is more than speech without its lows forgives.
    constexpr int64 spare = 512;
    const auto slope = proof.line->slope;
    const auto partOf = [&] (const LineStretch& line) {
        const auto lag = (int64) std::llround (line.lagAtZero + slope * (double) from);
        return emphasised (readSilencePadded (host, proof.hostChannel, from + lag - spare, count + 2 * spare));
    };
    const auto guestPart = emphasised (readSilencePadded (guest, proof.guestChannel, from, count));
    const auto early = partOf (a), late = partOf (b);
    const auto drifted = [&] (size_t i) {
        return i
               + (size_t) (spare
                           + std::clamp (std::llround (slope * (double) i), -(long long) spare, (long long) spare));
    };
    const auto explains = [&] (const std::vector<float>& part, size_t i) {
        return (double) guestPart[i] * (double) part[drifted (i)];
    };
    const auto sumOver = [&] (const std::vector<float>& part, size_t first, size_t last) {
        auto total = 0.0;

        for (auto i = first; i < last; ++i)
            total += explains (part, i);

        return total;
    };

    // The polarity is that of the ends, where each is known to fit.
    const auto size = (size_t) count, edge = std::min (size, (size_t) (marginSeconds * rate));
    const auto signEarly = sumOver (early, 0, edge) < 0.0 ? -1.0 : 1.0;
    const auto signLate = sumOver (late, size - edge, size) < 0.0 ? -1.0 : 1.0;
    auto sum = 0.0, best = 0.0;
    size_t at = 0;

    // The sum is of what the earlier stretch explains before the cut, less what the later one would.
    for (size_t i = 0; i < size; ++i)
    {
        sum += signEarly * explains (early, i) - signLate * explains (late, i);

        if (sum > best)
        {
            best = sum;
            at = i + 1;
        }
    }

    return (double) from + (double) at;
}

}    // namespace ld
