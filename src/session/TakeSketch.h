#pragma once

#include "session/TakeLoading.h"

namespace ld
{

// A take as it can be drawn while its audio is read: a session with lanes, names and places, and with curves where they are
// known. Its guests have as many channels as their files, all empty.

/** From the headers of its files alone, which takes milliseconds. Empty where the poly cannot be opened. */
[[nodiscard]] std::unique_ptr<Session> sketchTake (const LoadRequest&);

/** What is left of a take without its audio, curves included: about a hundredth of it. */
[[nodiscard]] std::unique_ptr<Session> withoutAudio (std::unique_ptr<Session>);

/** What a take's audio takes in memory, bytes, by the headers as the work knows them. */
[[nodiscard]] double audioBytesOf (const BatchMatch&);

}    // namespace ld
