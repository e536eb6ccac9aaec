#pragma once

#include "media/Records.h"

#include <initializer_list>
#include <utility>

namespace ld
{

/** A JSON object; it keeps its properties in the order in which they are given. */
[[nodiscard]] inline juce::var makeJsonObject (std::initializer_list<std::pair<const char*, juce::var>> properties)
{
    auto* object = new juce::DynamicObject;
    juce::var result (object);

    for (const auto& [name, value] : properties)
        object->setProperty (name, value);

    return result;
}

/** The same with an alignment's fields behind them, as every file of ours names them. */
[[nodiscard]] inline juce::var makeJsonObject (std::initializer_list<std::pair<const char*, juce::var>> properties,
                                               const Alignment& alignment)
{
    auto result = makeJsonObject (properties);
    auto* const object = result.getDynamicObject();
    object->setProperty ("offsetSamples", alignment.offsetSamples);
    object->setProperty ("method", methodWord (alignment.method));
    object->setProperty ("confidence", alignment.confidence);
    object->setProperty ("needsManual", alignment.needsManual);
    object->setProperty ("driftSlope", alignment.driftSlope);
    object->setProperty ("detail", alignment.detail);
    return result;
}

/** A JSON array of what convert makes of each item. */
template <typename Items, typename Convert>
[[nodiscard]] juce::var makeJsonArray (const Items& items, Convert&& convert)
{
    juce::Array<juce::var> array;

    for (const auto& item : items)
        array.add (convert (item));

    return array;
}

/** An object's properties, and behind them an alignment with all that is known of it. */
[[nodiscard]] inline juce::var
describeWholeAlignment (const Alignment& alignment,
                        std::initializer_list<std::pair<const char*, juce::var>> properties = {})
{
    const auto describeStretch = [] (const ClockStretch& stretch) {
        return makeJsonObject (
            { { "fromSample", stretch.fromSample }, { "hostSample", stretch.hostSample }, { "slope", stretch.slope } });
    };
    auto object = makeJsonObject (properties, alignment);
    object.getDynamicObject()->setProperty ("evidence", alignment.evidence);
    object.getDynamicObject()->setProperty ("stretches", makeJsonArray (alignment.stretches, describeStretch));
    return object;
}

}    // namespace ld
