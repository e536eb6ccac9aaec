#pragma once

#include "output/SessionDocument.h"

#include <optional>

namespace ld
{

/** The entries in which two maps differ: what the other one has, or that it has none. */
template <typename Map>
struct MapChange
{
    std::vector<std::pair<typename Map::key_type, std::optional<typename Map::mapped_type>>> entries;

    /** What makes to of from. */
    static MapChange between (const Map& from, const Map& to)
    {
        MapChange change;

        for (const auto& [key, value] : to)
            if (const auto at = from.find (key); at == from.end() || ! (at->second == value))
                change.entries.push_back ({ key, value });

        for (const auto& [key, value] : from)
            if (! to.contains (key))
                change.entries.push_back ({ key, std::nullopt });

        return change;
    }

    /** Brings a map to the other state, and becomes the way back. */
    void exchange (Map& map)
    {
        for (auto& [key, other] : entries)
        {
            std::optional<typename Map::mapped_type> mine;

            if (const auto at = map.find (key); at != map.end())
            {
                mine = std::move (at->second);
                map.erase (at);
            }

            if (other)
                map.insert_or_assign (key, std::move (*other));

            other = std::move (mine);
        }
    }

    [[nodiscard]] bool isEmpty() const noexcept { return entries.empty(); }
};

/** What one step has changed in a document, small enough to keep thousands of them. It goes to and fro: each exchange brings
    the document to the other state and turns the change round. Which take is open is no part of it. */
class DocumentChange
{
public:
    /** What makes to of from. */
    [[nodiscard]] static DocumentChange between (const SessionDocument& from, const SessionDocument& to);

    void exchange (SessionDocument&);
    [[nodiscard]] bool isEmpty() const;

private:
    struct Scalars
    {
        int referenceChannel = 0;
        juce::File videoFile;
        juce::int64 videoTimestampSamples = 0;
        juce::String videoTimecodeRate;
        std::vector<RecorderClock> recorders;

        bool operator== (const Scalars&) const = default;
    };

    /** A file's place, found by names: results of jobs may have changed the lists meanwhile. */
    struct PlaceChange
    {
        juce::File poly, file;
        Alignment place;
    };

    [[nodiscard]] static Scalars scalarsOf (const SessionDocument&);
    void compareTakes (const std::vector<BatchMatch>& from, const std::vector<BatchMatch>& to);
    void exchangeTakes (std::vector<BatchMatch>&);

    std::optional<Scalars> scalars;
    std::optional<std::vector<BatchMatch>> takes;    // where their list has changed
    std::vector<BatchMatch> changedTakes;            // where only what some of them hold has
    std::vector<PlaceChange> places;                 // where only places have
    MapChange<MixerTemplate> mixer;
    MapChange<TakeLevels> levels;
    MapChange<MetadataOverrides> metadata;
    MapChange<NameOverrides> names;
};

/** Whether a take holds the same files, places and choices. */
[[nodiscard]] bool isSameTake (const BatchMatch&, const BatchMatch&);

}    // namespace ld
