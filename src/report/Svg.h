#pragma once

#include <juce_core/juce_core.h>

namespace ld
{

/** What the text of a picture takes at most, in the picture's units: by the widest of the usual sans serif faces.
    size   of the letters, units */
[[nodiscard]] double textWidth (const juce::String&, double size);

/** The text, or as much of its start as fits, with an ellipsis. */
[[nodiscard]] juce::String fittingText (const juce::String&, double size, double width);

/** HH:MM or HH:MM:SS of a time of day, which may lie beyond midnight or ahead of it. */
[[nodiscard]] juce::String timeLabel (double seconds, bool hasSeconds);

/** A picture put together from marks, to stand in a page. Its classes are styled by the page. */
class Svg
{
public:
    /** x, y, w, h   units
        cssClass     letters, digits and blanks only
        hint         what a pointer that rests on it is told; may be empty */
    void box (double x, double y, double w, double h, const char* cssClass, const juce::String& hint = {});
    void line (double x1, double y1, double x2, double y2, const char* cssClass);
    void dot (double x, double y, double radius, const char* cssClass);

    /** x   of the text's start, or with the class "end" of its end, with "middle" of its middle */
    void text (double x, double y, const juce::String&, const char* cssClass);

    /** The whole picture.
        name   what it shows, for those who cannot see it */
    [[nodiscard]] juce::String picture (double width, double height, const juce::String& name) const;

private:
    juce::String marks;
};

}    // namespace ld
