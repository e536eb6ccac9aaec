#pragma once

#include <cstdint>
#include <span>

namespace ld::fuzz
{

using Bytes = std::span<const std::uint8_t>;

/** What reads bytes that nobody vouches for. Each does with them what the program does, and ends the process where a
    promise is broken: what was written reads back the same, what is told lies within its range. */
struct Target
{
    const char* name;
    void (*run) (Bytes);
};

/** All of them. */
[[nodiscard]] std::span<const Target> targets();

void readWave (Bytes);            // a wave file, through every way to read it
void readBext (Bytes);            // a bext payload, there and back
void readIxml (Bytes);            // an iXML text, there and back
void openSession (Bytes);         // a session document, there and back
void conformTake (Bytes);         // the length of a poly in four bytes, lowest first; the poly; a guest
void countTimecode (Bytes);       // timecode, rates and names as text
void writeInterchange (Bytes);    // an iXML text that an interchange package is made of

}    // namespace ld::fuzz
