#pragma once

#include "work/SessionPlan.h"
#include "work/WorkEdits.h"

#include "support/TempFolder.h"

namespace ld::test
{

/** Takes of three channels with four recordings each, without a sound: what edits are made of. */
class WorkShoot
{
public:
    explicit WorkShoot (int takes)
    {
        for (int t = 0; t < takes; ++t)
        {
            auto& take = document.takes.emplace_back();
            take.host.file = temp.file ("poly" + juce::String (t) + ".wav");

            for (int g = 0; g < 4; ++g)
                take.guests.push_back (
                    recording ("iso" + juce::String (g) + "_" + juce::String (t) + ".wav", 1000 * g));
        }
    }

    [[nodiscard]] ScanFile recording (const juce::String& name, juce::int64 place) const
    {
        ScanFile scan;
        scan.file = temp.file (name);
        scan.format = { .channels = 1, .sampleRate = 48000, .numFrames = 48000, .valid = true };
        scan.alignment.offsetSamples = place;
        scan.alignment.method = Alignment::Method::waveform;
        return scan;
    }

    static TrackInfo track (int channel, const juce::String& name, const juce::String& function)
    {
        TrackInfo info;
        info.channelIndex = info.interleaveIndex = channel;
        info.name = name;
        info.function = function;
        return info;
    }

    /** The session that shows a take. */
    static void show (Session& session, const SessionDocument& document, const BatchMatch& take)
    {
        session.clear();
        session.host.file = take.host.file;
        session.host.format = { .channels = 3, .sampleRate = 48000, .numFrames = 480000, .valid = true };
        session.host.tracks = { track (1, "Mix", "MIX"), track (2, "Boom", "BOOM"), track (3, "Lav", "LAV") };

        for (const auto& scan : take.guests)
        {
            auto& guest = session.guests.emplace_back();
            guest.id = juce::Uuid();
            guest.file = scan.file;
            guest.format = scan.format;
            guest.tracks = guest.givenTracks = { track (1, scan.file.getFileNameWithoutExtension(), "OTHER") };
            guest.alignment = scan.alignment;
            guest.channelAudio.resize (1);
            auto& piece = guest.pieces.emplace_back();
            piece.file = scan.file;
            piece.saved = scan.alignment;
        }

        dressSession (session, document, take);
    }

    static void showOpen (Session& session, const WorkHistory& work)
    {
        show (session, work.document(), *openTakeOf (work.document()));
    }

    TempFolder temp;
    SessionDocument document = WorkHistory::emptyDocument();
};

}    // namespace ld::test
