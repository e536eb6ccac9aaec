#include "demo/Music.h"
#include "demo/TruthShootMachines.h"
#include "demo/TruthShootSet.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr double hourSeconds = 3600.0;
constexpr double firstTakeSeconds = 9.3 * hourSeconds;
constexpr double jamSeconds = 8.9 * hourSeconds;
constexpr double lunchSeconds = 0.8 * hourSeconds;
constexpr double sceneMargin = 1.0;
constexpr int takesPerScene = 4;
constexpr double songSeconds = 75.0;
constexpr double guestLevelDb = 8.0;

/** What is hard about a take of the day. */
struct TakeNature
{
    bool isSilent = false;
    int walkers = 0;
    int songs = 0;
    int sameWordsAs = -1;      // an earlier take
    bool joinsNext = false;    // one machine runs on into the next take
};

/** Twelve takes hold everything, six most of it; all further ones are plain. */
std::vector<TakeNature> naturesOf (int numTakes)
{
    std::vector<TakeNature> natures ((size_t) numTakes);

    if (numTakes >= 12)
    {
        natures[1].walkers = natures[10].walkers = 1;
        natures[5].walkers = 2;
        natures[3].sameWordsAs = 2;
        natures[9].sameWordsAs = 8;
        natures[1].songs = natures[4].songs = natures[6].songs = natures[10].songs = 1;
        natures[4].joinsNext = natures[5].joinsNext = true;
        natures[7].isSilent = true;
    }
    else if (numTakes >= 6)
    {
        natures[0].walkers = natures[0].songs = natures[3].songs = 1;
        natures[2].sameWordsAs = 1;
        natures[3].joinsNext = true;
        natures[5].isSilent = true;
    }

    return natures;
}

/** The sounds of one scene and who hears them. */
struct SceneFrame
{
    double startSeconds = 0.0;       // of the day: the scene's zero
    std::vector<SceneSpan> takes;    // of the polys, in scene time
    SceneSpan span;
    int numTalkers = 2;
};

// Two packs share their lavs with the poly, two have one of their own.
std::vector<Microphone> hearingOf (int role, const HardSet& set)
{
    switch (role)
    {
        case DayMachines::packA: return { set.ownLav };
        case DayMachines::packB: return { set.table.lavs[1] };
        case DayMachines::packC: return { set.belt };
        case DayMachines::packD: return { set.table.lavs[0] };
        case DayMachines::array: return { set.array[0], set.array[1] };
        case DayMachines::second: return { set.second[0], set.second[1] };
        case DayMachines::table: return { set.table.tableLeft, set.table.tableRight };
        case DayMachines::camera: return { set.table.cameraLeft, set.table.cameraRight };
        default: return { set.recorder };
    }
}

TrackInfo trackOf (size_t index, const juce::String& name, const juce::String& function)
{
    return { (int) index, (int) index, name, function, {}, true };
}

class DayPlanner
{
public:
    DayPlanner (const TruthShootRequest& requestToPlan, bool isHard)
        : request (requestToPlan), random ((std::uint64_t) request.seed), names (planNames (random.fork (1))),
          voices (planVoices (random.fork (2))), isFullDay (isHard), now (firstTakeSeconds)
    {
        natures = isFullDay ? naturesOf (request.takes) : std::vector<TakeNature> ((size_t) request.takes);
        natures.resize (natures.size() + (size_t) request.longTakes);
        planLengths (random.fork (3));
        machines = planDayMachines ({ jamSeconds, middaySeconds(), isFullDay }, random.fork (4));

        if (isFullDay)
            song = std::make_shared<const std::vector<float>> (renderMusic (songSeconds, random.fork (5)));
    }

    TruthPlan plan()
    {
        for (size_t i = 0; i < natures.size();)
            i = planSceneFrom (i);

        if (isFullDay)
        {
            planChatter();
            planStrangersNearby();
        }

        for (size_t i = 0; i < machines.all.size(); ++i)
        {
            result.sources.push_back (sourceOf (machines.all[i].machine, machines.all[i].jams));
            planJumps (result, machines.all[i], random.fork (500 + i));
        }

        return std::move (result);
    }

private:
    void planLengths (DemoRandom lengths)
    {
        for (int i = 0; i < request.takes; ++i)
            takeSeconds.push_back (request.seconds * lengths.uniform (2.0 / 3.0, 4.0 / 3.0));

        for (int i = 0; i < request.longTakes; ++i)
            takeSeconds.push_back (lengths.uniform (480.0, 720.0));

        for (size_t i = 0; i < natures.size(); ++i)
        {
            if (const auto again = natures[i].sameWordsAs; again >= 0)
                takeSeconds[i] = takeSeconds[(size_t) again];

            gapSeconds.push_back (natures[i].joinsNext ? lengths.uniform (25.0, 60.0) : lengths.uniform (50.0, 150.0));
        }

        gapSeconds[lunchBehind()] += isFullDay ? lunchSeconds : 0.0;
    }

    // The last take before lunch.
    [[nodiscard]] size_t lunchBehind() const
    {
        auto take = natures.size() / 2;

        while (take + 1 < natures.size() && natures[take].joinsNext)
            ++take;

        return take;
    }

    [[nodiscard]] double middaySeconds() const
    {
        auto moment = firstTakeSeconds;

        for (size_t i = 0; i <= lunchBehind(); ++i)
            moment += takeSeconds[i] + gapSeconds[i];

        return moment - 0.5 * gapSeconds[lunchBehind()];
    }

    /** Returns the first take behind the scene. */
    size_t planSceneFrom (size_t first)
    {
        auto own = random.fork (100 + first);
        auto last = first;
        SceneFrame frame;
        frame.startSeconds = std::floor (now * demoSampleRate) / demoSampleRate;
        auto end = 0.0;

        for (;; ++last)
        {
            frame.takes.push_back ({ end, end + takeSeconds[last] });
            end += takeSeconds[last] + std::floor (gapSeconds[last] * demoSampleRate) / demoSampleRate;

            if (! natures[last].joinsNext)
                break;
        }

        now = frame.startSeconds + end;
        frame.span = { -sceneMargin - mostOverhang, frame.takes.back().to + mostOverhang + sceneMargin };
        planScene (frame, first, own);
        return last + 1;
    }

    void planScene (SceneFrame& frame, size_t first, DemoRandom own)
    {
        const auto again = natures[first].sameWordsAs;
        frame.numTalkers = again >= 0 ? (int) talks[(size_t) again].size() : 2 + own.below (2);
        auto walkers = 0;

        for (size_t i = 0; i < frame.takes.size(); ++i)
            walkers = std::max (walkers, natures[first + i].walkers);

        const auto set = planHardSet (frame.numTalkers, walkers, frame.span, own.fork (1));
        TruthScene truth;
        auto& scene = truth.scene;
        scene.span = frame.span;
        scene.room = set.room;
        const auto playbacks = planPlaybacks (frame, first, own.fork (2));
        scene.numMainSounds = frame.numTalkers + (playbacks.empty() ? 0 : 1);
        scene.sounds = soundsOf (set, planTalk (frame, first, own.fork (3)), playbacks, frame.span, own.fork (4));

        if (natures[first].isSilent)
            scene.sounds.resize ((size_t) frame.numTalkers);

        for (size_t i = 0; i < frame.takes.size(); ++i)
        {
            truth.takes.push_back (
                { scene.recordings.size(), natures[first + i].isSilent, eventsOf (first + i, walkers) });
            scene.recordings.push_back (planPoly (frame, i, first + i, set, own.fork (10)));
        }

        for (size_t i = 0; i < frame.takes.size(); ++i)
            planGuests (scene, frame, i, set, own.fork (20 + i));

        result.scenes.push_back (std::move (truth));
    }

    std::vector<std::vector<Syllable>> planTalk (const SceneFrame& frame, size_t first, DemoRandom own)
    {
        std::vector<std::vector<Syllable>> talk ((size_t) frame.numTalkers);
        std::vector<SceneSpan> quiet;

        auto at = own.uniform (0.0, 30.0);

        while (at < frame.span.to)
        {
            quiet.push_back ({ at, at + own.uniform (2.0, 9.0) });
            at += own.uniform (20.0, 90.0);
        }

        if (const auto again = natures[first].sameWordsAs; again >= 0)
            talk = saidAgain (talks[(size_t) again], own.fork (1));
        else if (! natures[first].isSilent)
            talk = planConversation (
                { voices.begin(), voices.begin() + frame.numTalkers }, frame.span, quiet, own.fork (2));

        talks.resize (natures.size());
        talks[first] = talk;
        return talk;
    }

    std::vector<Playback> planPlaybacks (const SceneFrame& frame, size_t first, DemoRandom own)
    {
        std::vector<Playback> playbacks;

        for (size_t i = 0; i < frame.takes.size(); ++i)
            if (natures[first + i].songs > 0)
            {
                const auto& take = frame.takes[i];
                const auto start = take.from + own.uniform (0.02, 0.3) * (take.to - take.from);
                playbacks.push_back ({ song, std::llround (start * demoSampleRate), 1.6f });
            }

        return playbacks;
    }

    [[nodiscard]] juce::StringArray eventsOf (size_t take, int walkers) const
    {
        const auto& nature = natures[take];
        juce::StringArray events;

        if (nature.isSilent)
            events.add ("silent");

        if (walkers > 0)
            events.add ("walking");

        if (nature.songs > 0)
            events.add ("song");

        if (nature.sameWordsAs >= 0)
            events.add ("same words as take " + juce::String (nature.sameWordsAs + 1));

        return events;
    }

    Recording planPoly (const SceneFrame& frame, size_t index, size_t take, const HardSet& set, DemoRandom own)
    {
        const auto numLavs = (size_t) own.below (frame.numTalkers + 1);
        const auto numPlants = (size_t) own.below (numLavs == 0 ? 1 : 3);
        Recording poly;
        poly.source = "Poly";
        poly.microphones = { set.table.boom };
        poly.microphones.insert (
            poly.microphones.end(), set.table.lavs.begin(), set.table.lavs.begin() + (long) numLavs);
        poly.microphones.insert (poly.microphones.end(), set.plants.begin(), set.plants.begin() + (long) numPlants);
        std::vector<TrackInfo> tracks { trackOf (1, "Mix L", "MIX"),
                                        trackOf (2, "Mix R", "MIX"),
                                        trackOf (3, "Boom", "BOOM") };
        poly.channels.assign (2, std::vector<float> (poly.microphones.size(), 0.45f));

        for (const auto& channel : oneChannelEach (poly.microphones.size()))
            poly.channels.push_back (channel);

        for (size_t i = 0; i < numLavs; ++i)
            tracks.push_back (trackOf (4 + i, "Lav " + juce::String (i + 1), "LAV"));

        for (size_t i = 0; i < numPlants; ++i)
            tracks.push_back (trackOf (4 + numLavs + i, "Plant " + juce::String (i + 1), "PLANT"));

        const auto& span = frame.takes[index];
        const auto frames = (juce::int64) ((span.to - span.from) * demoSampleRate);
        const auto start = std::llround (span.from * demoSampleRate);
        poly.files.push_back (
            planPolyFile (names,
                          { (int) take / takesPerScene, (int) take % takesPerScene, stampOf (frame) + start, frames },
                          tracks));
        poly.files.front().startSamples = (double) start;
        return poly;
    }

    [[nodiscard]] static juce::int64 stampOf (const SceneFrame& frame)
    {
        return std::llround (frame.startSeconds * demoSampleRate);
    }

    void planGuests (PlannedScene& scene, const SceneFrame& frame, size_t index, const HardSet& set, DemoRandom own)
    {
        for (int role = 0; role < DayMachines::numRoles; ++role)
        {
            auto& machine = machines.all[(size_t) role];
            const auto runsThrough = frame.takes.size() > 1 && role == DayMachines::second;
            const auto isThere = own.chance (machine.attendance);
            auto span = planSpan (frame.takes[index], own);
            const auto pieces = machine.mostFiles > 1 && own.chance (0.5) ? 2 + own.below (machine.mostFiles - 1) : 1;

            if (runsThrough ? index > 0 : ! isThere)
                continue;

            if (runsThrough)
                span.to = frame.takes.back().to + 0.8 * mostOverhang;

            auto microphones = hearingOf (role, set);

            for (auto& microphone : microphones)
            {
                // Its own converter and gain on the same capsule.
                microphone = withOtherLevel (microphone, guestLevelDb, own);
                microphone.noiseSeed = ~microphone.noiseSeed;
                microphone.gain *= role == DayMachines::packD ? -1.0 : 1.0;
            }

            scene.recordings.push_back (
                record (machine, frame, span, std::move (microphones), runsThrough ? 1 : pieces));
        }
    }

    // Most run from before a take until behind it; some are late or stop early.
    static SceneSpan planSpan (SceneSpan take, DemoRandom& own)
    {
        const auto early = own.uniform (0.3, mostOverhang), late = own.uniform (0.3, mostOverhang);
        const auto isLate = own.chance (0.12), endsEarly = own.chance (0.12);
        const auto cut = own.uniform (0.1, 0.35) * (take.to - take.from);
        return { isLate ? take.from + cut : take.from - early, endsEarly ? take.to - cut : take.to + late };
    }

    Recording record (
        DayMachine& machine, const SceneFrame& frame, SceneSpan span, std::vector<Microphone> microphones, int numFiles)
    {
        machine.setClock (frame.startSeconds + span.from);
        auto recording =
            planGuestFiles (machine.machine, names, { stampOf (frame), span, (int) microphones.size(), numFiles });
        recording.channels = oneChannelEach (microphones.size());
        recording.microphones = std::move (microphones);
        recording.treatment = machine.treatment;
        return recording;
    }

    /** What a pack records between the takes, with nobody at the poly. */
    void planChatter()
    {
        auto own = random.fork (300);

        for (const auto role : { DayMachines::packA, DayMachines::second })
        {
            SceneFrame frame;
            frame.startSeconds = middaySeconds() + own.uniform (-0.4, 0.4) * gapSeconds[lunchBehind()];
            const auto seconds = request.seconds * own.uniform (0.3, 0.6);
            frame.span = { -sceneMargin, seconds + sceneMargin };
            const auto set = planHardSet (frame.numTalkers, 0, frame.span, own.fork ((std::uint64_t) role));
            TruthScene truth;
            fillLonely (truth.scene, frame, set, voices, own.fork (50 + (std::uint64_t) role));
            truth.scene.recordings.push_back (
                record (machines.all[(size_t) role], frame, { 0.0, seconds }, hearingOf (role, set), 1));
            result.scenes.push_back (std::move (truth));
        }
    }

    void fillLonely (PlannedScene& scene,
                     const SceneFrame& frame,
                     const HardSet& set,
                     const std::vector<VoiceProfile>& who,
                     DemoRandom own)
    {
        scene.span = frame.span;
        scene.room = set.room;
        scene.numMainSounds = frame.numTalkers;
        auto talk = planConversation ({ who.begin(), who.begin() + frame.numTalkers }, frame.span, {}, own.fork (1));
        scene.sounds = soundsOf (set, std::move (talk), {}, frame.span, own.fork (2));
    }

    /** Another production's people and machines, at the same hours. */
    void planStrangersNearby()
    {
        constexpr auto numFiles = 5;
        auto own = random.fork (400);
        auto others = planVoices (own.fork (1));

        for (auto& voice : others)
        {
            voice.pitchHz *= 1.13;
            voice.formantScale *= 1.06f;
        }

        DayMachine stamped, unstamped;
        stamped.machine = {
            "Other Pack", "OTH", "Other", { 48000, own.uniform (-12.0, 12.0) }, 24, Stamp::bextAndIxml
        };
        stamped.jams = { { jamSeconds, own.uniform (-0.3, 0.3) } };
        unstamped.machine = { "Other Recorder", "ZOT", {}, { 48000, own.uniform (-20.0, 20.0) }, 16, Stamp::none };
        unstamped.jams = { {} };

        for (int i = 0; i < numFiles; ++i)
        {
            auto each = own.fork (10 + (std::uint64_t) i);
            SceneFrame frame;
            frame.startSeconds = each.uniform (firstTakeSeconds, now);
            const auto seconds = request.seconds * each.uniform (0.4, 1.1);
            frame.span = { -sceneMargin, seconds + sceneMargin };
            const auto set = planHardSet (frame.numTalkers, 0, frame.span, each.fork (1));
            TruthScene truth;
            fillLonely (truth.scene, frame, set, others, each.fork (2));
            truth.scene.recordings.push_back (
                record (i % 2 == 0 ? stamped : unstamped, frame, { 0.0, seconds }, { set.ownLav }, 1));
            result.scenes.push_back (std::move (truth));
        }
    }

    static constexpr double mostOverhang = 12.0;

    const TruthShootRequest request;
    const DemoRandom random;
    const ShootNames names;
    const std::vector<VoiceProfile> voices;
    const bool isFullDay;
    double now;    // of the day, where the next scene may begin
    std::vector<TakeNature> natures;
    std::vector<double> takeSeconds, gapSeconds;
    std::vector<std::vector<std::vector<Syllable>>> talks;    // of each take, in its scene's time
    std::shared_ptr<const std::vector<float>> song;
    DayMachines machines;
    TruthPlan result;
};

}    // namespace

TruthPlan planTruthDay (const TruthShootRequest& request)
{
    return DayPlanner (request, true).plan();
}

TruthPlan planShortTakes (const TruthShootRequest& request)
{
    return DayPlanner (request, false).plan();
}

}    // namespace ld
