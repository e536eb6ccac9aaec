#pragma once

#include "support/OpenView.h"
#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"

#include <gtest/gtest.h>

namespace ld::test
{

/** The view with a poly of three channels and files that hear the same. */
class ViewTest : public testing::Test
{
protected:
    static constexpr int rate = 8000;
    static constexpr auto command = juce::ModifierKeys::commandModifier;

    juce::File poly (const juce::String& name = "poly.wav", std::optional<juce::uint64> stamp = 36000u * rate)
    {
        const auto length = (juce::int64) sound.size();
        return write (name, { sound, stretchOf (sound, -3, length), sumOf (sound, noise (length, 77), 0.3f) }, stamp);
    }

    juce::File iso (const juce::String& name, juce::int64 start, std::optional<juce::uint64> stamp = {})
    {
        return write (name, { stretchOf (sound, start, 15 * rate) }, stamp);
    }

    juce::File write (const juce::String& name, const Channels& channels, std::optional<juce::uint64> stamp)
    {
        WaveBuilder wave ({ .channels = (int) channels.size(), .sampleRate = rate, .bits = 24 }, channels);

        if (stamp)
            wave.chunk ("iXML", ixmlBody ({ .stamp = stamp, .stampRate = (double) rate, .timecodeRate = "25/1" }));

        temp.file (name).getParentDirectory().createDirectory();
        return wave.writeTo (temp.file (name));
    }

    void load (const std::vector<juce::File>& files)
    {
        open.drop (files);
        ASSERT_TRUE (open.settle());
        ASSERT_TRUE (session().host.format.valid);
    }

    [[nodiscard]] const Session& session() const { return open.view->openSession(); }
    [[nodiscard]] std::string status() const { return open.view->status().toStdString(); }

    const Signal sound = speech (30 * rate, rate, 1);
    TempFolder temp;
    OpenView open;
};

}    // namespace ld::test
