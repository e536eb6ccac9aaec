#pragma once

#include "media/Records.h"

#include <map>
#include <optional>

namespace ld
{

/** A text made safe for the framework's parser: none if it nests too deep; over-long numbers are written as short reals. */
[[nodiscard]] std::optional<juce::String> guardedJson (const juce::String&);

/** A value of any type as the framework converts it, but for numbers that the target cannot hold: they are clamped. */
[[nodiscard]] juce::int64 wholeNumberIn (const juce::var&);

/** One object of a JSON document; a value that is none reads as if all its keys were absent. What is absent leaves the
    target as it is. */
class Fields
{
public:
    explicit Fields (const juce::var& valueToRead) : value (valueToRead) {}

    void read (const char* key, juce::int64& target) const;
    void read (const char* key, int& target) const;
    void read (const char* key, double& target) const;
    void read (const char* key, float& target) const;
    void read (const char* key, bool& target) const;
    void read (const char* key, juce::String& target) const;
    void read (const char* key, juce::File& target) const;
    void read (const char* key, Alignment::Method& target) const;

    template <typename Item, typename ReadItem>
    void readArray (const char* key, std::vector<Item>& target, ReadItem&& readItem) const
    {
        if (const auto* items = value[key].getArray())
            for (const auto& item : *items)
                target.push_back (readItem (item));
    }

    template <typename Item, typename ReadItem>
    void
    readMap (const char* key, const char* nameOfKey, std::map<juce::String, Item>& target, ReadItem&& readItem) const
    {
        if (const auto* items = value[key].getArray())
            for (const auto& item : *items)
                target[item[nameOfKey].toString()] = readItem (item);
    }

    [[nodiscard]] Fields object (const char* key) const { return Fields (value[key]); }

private:
    [[nodiscard]] bool has (const char* key) const { return value.hasProperty (key); }

    juce::var value;
};

/** An alignment with its stretches and evidence, as describeWholeAlignment writes it. */
void readWholeAlignment (const Fields&, Alignment&);

}    // namespace ld
