#include "media/FileHash.h"

#include <xxhash.h>

#include <algorithm>
#include <new>
#include <vector>

namespace ld
{
namespace
{

constexpr juce::int64 blockBytes = 1 << 20;

// Further than the chunks around a file's audio: such a leap is no reading in order.
constexpr juce::int64 widestGap = 8 << 20;

}    // namespace

void Xxh64::Free::operator() (XXH64_state_s* state) const
{
    XXH64_freeState (state);
}

Xxh64::Xxh64() : state (XXH64_createState())
{
    if (state == nullptr)
        throw std::bad_alloc();

    XXH64_reset (state.get(), 0);
}

Xxh64::~Xxh64() = default;

void Xxh64::add (const void* bytes, size_t count)
{
    if (count > 0)
        XXH64_update (state.get(), bytes, count);
}

juce::String Xxh64::text() const
{
    return juce::String::toHexString ((juce::int64) XXH64_digest (state.get())).paddedLeft ('0', 16);
}

ReadHash::ReadHash (const juce::File& fileToRead) : file (fileToRead)
{
}

ReadHash::~ReadHash() = default;

void ReadHash::saw (juce::int64 offset, const void* bytes, juce::int64 count)
{
    if (offset + count <= known || offset > known + widestGap || ! readUpTo (offset))
        return;

    const auto repeated = known - offset;
    hash.add (static_cast<const char*> (bytes) + repeated, (size_t) (count - repeated));
    known = offset + count;
}

std::optional<juce::String> ReadHash::finish()
{
    if (! file.existsAsFile() || ! readUpTo (file.getSize()))
        return {};

    return hash.text();
}

bool ReadHash::readUpTo (juce::int64 end)
{
    if (hasFailed || known >= end)
        return ! hasFailed;

    if (stream == nullptr)
        stream = std::make_unique<juce::FileInputStream> (file);

    hasFailed = ! stream->openedOk() || ! stream->setPosition (known);
    std::vector<char> block ((size_t) std::min (blockBytes, end - known));

    while (! hasFailed && known < end)
    {
        const auto wanted = (int) std::min ((juce::int64) block.size(), end - known);
        hasFailed = stream->read (block.data(), wanted) != wanted;

        if (hasFailed)
            break;

        hash.add (block.data(), (size_t) wanted);
        known += wanted;
    }

    return ! hasFailed;
}

std::optional<juce::String> hashOfFile (const juce::File& file)
{
    return ReadHash (file).finish();
}

}    // namespace ld
