#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace ld::test
{

/** A control anywhere below another one, by its title or a button's text; null where there is none. */
template <typename Child>
Child* findChild (juce::Component& parent, const juce::String& textOrTitle)
{
    for (auto* component : parent.getChildren())
    {
        const auto* const button = dynamic_cast<juce::Button*> (component);
        const auto isMeant =
            component->getTitle() == textOrTitle || (button != nullptr && button->getButtonText() == textOrTitle);

        if (auto* const child = dynamic_cast<Child*> (component); child != nullptr && isMeant)
            return child;

        if (auto* const child = findChild<Child> (*component, textOrTitle))
            return child;
    }

    return nullptr;
}

}    // namespace ld::test
