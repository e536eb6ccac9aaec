#pragma once

#include <juce_core/juce_core.h>

#include <memory>
#include <optional>

struct XXH64_state_s;

namespace ld
{

/** The XXH64 of bytes that come in order (github.com/Cyan4973/xxHash, seed 0). */
class Xxh64
{
public:
    Xxh64();
    ~Xxh64();
    Xxh64 (const Xxh64&) = delete;
    Xxh64& operator= (const Xxh64&) = delete;

    void add (const void* bytes, size_t count);

    /** Sixteen digits of the bytes so far, the highest first. */
    [[nodiscard]] juce::String text() const;

private:
    struct Free
    {
        void operator() (XXH64_state_s*) const;
    };

    std::unique_ptr<XXH64_state_s, Free> state;
};

/** The XXH64 of a whole file, made of what its reader reads anyway. Bytes that are read in the file's order cost no second
    reading; what was passed over is read when it is missed, at the latest at the end, so that the answer never depends on how
    the file was read. */
class ReadHash
{
public:
    explicit ReadHash (const juce::File&);
    ~ReadHash();
    ReadHash (const ReadHash&) = delete;
    ReadHash& operator= (const ReadHash&) = delete;

    /** Tells of bytes that were read.
        offset   in the file; any order, and again and again */
    void saw (juce::int64 offset, const void* bytes, juce::int64 count);

    /** The hash of the file, read to its end; nothing where that fails. */
    [[nodiscard]] std::optional<juce::String> finish();

private:
    [[nodiscard]] bool readUpTo (juce::int64 end);

    juce::File file;
    Xxh64 hash;
    juce::int64 known = 0;    // bytes from the start that are in the hash
    bool hasFailed = false;
    std::unique_ptr<juce::FileInputStream> stream;    // for what was passed over
};

/** The hash of a file as it is on the disk; nothing where it cannot be read. */
[[nodiscard]] std::optional<juce::String> hashOfFile (const juce::File&);

}    // namespace ld
