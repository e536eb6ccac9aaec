#include "output/EssenceIds.h"

#include "media/BextIxml.h"

#include <algorithm>

namespace ld
{
namespace
{

using juce::uint64;

/** FNV-1a with 128 bits (Fowler, Noll, Vo; draft-eastlake-fnv): small, and even enough for ids. */
class Hash128
{
public:
    void add (const void* bytes, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
        {
            low ^= static_cast<const juce::uint8*> (bytes)[i];
            multiply();
        }
    }

    // With its length ahead, so that "ab", "c" is not "a", "bc".
    void add (const juce::String& text)
    {
        add ((juce::int64) text.getNumBytesAsUTF8());
        add (text.toRawUTF8(), text.getNumBytesAsUTF8());
    }

    void add (juce::int64 number)
    {
        const auto littleEndian = juce::ByteOrder::swapIfBigEndian (number);
        add (&littleEndian, sizeof (littleEndian));
    }

    void add (double number) { add (std::bit_cast<juce::int64> (number)); }

    [[nodiscard]] std::array<juce::uint8, 16> bytes() const
    {
        std::array<juce::uint8, 16> result {};

        for (size_t i = 0; i < 8; ++i)
        {
            result[i] = (juce::uint8) (high >> (56 - 8 * i));
            result[i + 8] = (juce::uint8) (low >> (56 - 8 * i));
        }

        return result;
    }

private:
    // By the prime 2^88 + 0x13B, modulo 2^128.
    void multiply()
    {
        constexpr uint64 small = 0x13B;
        const auto lowPart = (low & 0xFFFFFFFF) * small, highPart = (low >> 32) * small;
        const auto carry = (highPart + (lowPart >> 32)) >> 32;
        high = high * small + carry + (low << 24);
        low *= small;
    }

    uint64 high = 0x6c62272e07bb0142, low = 0x62b821756295c58d;
};

template <typename Media>
void addIdentity (Hash128& hash, const Media& media)
{
    hash.add (media.file.getFileName());
    hash.add (media.bext.umid.data(), media.bext.umid.size());
    hash.add (media.bext.originatorReference);
    hash.add (media.ixml.fileUid);
    hash.add ((juce::int64) timestampFromIxmlOrBext (media.ixml, media.bext));
    hash.add (media.format.numFrames);
}

void addGuest (Hash128& hash, const GuestClip& guest)
{
    addIdentity (hash, guest);
    hash.add (guest.alignment.offsetSamples);
    hash.add (guest.alignment.driftSlope);

    for (const auto& piece : guest.pieces)
    {
        addIdentity (hash, piece);
        hash.add (piece.offsetSamples);
    }
}

void addChannel (Hash128& hash, const MixerChannel& channel)
{
    hash.add ((double) channel.gainDb);
    hash.add ((juce::int64) channel.mute);
    hash.add ((juce::int64) channel.solo);

    for (const auto& point : channel.automation)
    {
        hash.add (point.sample);
        hash.add ((double) point.gainDb);
    }

    for (const auto& point : channel.muteAutomation)
    {
        hash.add (point.sample);
        hash.add ((juce::int64) point.mute);
    }
}

// RFC 9562, section 5.8: version 8, made by a rule of the maker's own.
std::array<juce::uint8, 16> asUuid (std::array<juce::uint8, 16> bytes)
{
    bytes[6] = (juce::uint8) ((bytes[6] & 0x0F) | 0x80);
    bytes[8] = (juce::uint8) ((bytes[8] & 0x3F) | 0x80);
    return bytes;
}

}    // namespace

EssenceIds makeEssenceIds (const ExportRequest& request)
{
    Hash128 hash;
    addIdentity (hash, request.host);

    for (const auto& track : buildExportTracks (request.host, request.guests, request.includeMix))
    {
        hash.add (track.name);
        hash.add (track.function);
    }

    for (int c = 0; c < request.host.format.channels; ++c)
        hash.add ((juce::int64) isChannelOmitted (request.host, c));

    for (const auto& guest : request.guests)
        addGuest (hash, guest);

    for (int m = 0; m < std::min (request.mixerCount, mixerChannelLimit); ++m)
        addChannel (hash, request.mixer[(size_t) m]);

    // ST 330: the label of a UMID, version 5; two or more sounds in one container; a material number made as a UUID;
    // 0x13 bytes follow; no instance number.
    constexpr juce::uint8 label[] = { 0x06, 0x0A, 0x2B, 0x34, 0x01, 0x01, 0x01, 0x05,
                                      0x01, 0x01, 0x09, 0x20, 0x13, 0x00, 0x00, 0x00 };
    const auto uuid = asUuid (hash.bytes());
    EssenceIds ids;
    std::ranges::copy (label, ids.umid.begin());
    std::ranges::copy (uuid, ids.umid.begin() + std::size (label));
    ids.fileUid = juce::Uuid (uuid.data()).toDashedString();
    return ids;
}

}    // namespace ld
