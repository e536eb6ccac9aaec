#include "demo/DemoShootTruth.h"

#include "output/JsonValues.h"

namespace ld
{

juce::var describePiece (const Recording& recording, const PlannedFile& file, double hostStart)
{
    return makeJsonObject ({ { "file", file.path },
                             { "frames", file.format.numFrames },
                             { "sampleRate", file.format.sampleRate },
                             { "startSamples", file.startSamples - hostStart },
                             { "hostSamplesPerFrame", recording.hostSamplesPerFrame } });
}

juce::var describeGuest (const Recording& recording, const juce::Array<juce::var>& pieces, const LagSpan& span)
{
    return makeJsonObject ({ { "source", recording.source },
                             { "pieces", pieces },
                             { "lagSpanMs", juce::Array<juce::var> { span.lowMs, span.highMs } } });
}

juce::var describeTake (const Recording& poly, const juce::Array<juce::var>& guests)
{
    const auto& file = poly.files.front();
    return makeJsonObject ({ { "poly", file.path }, { "frames", file.format.numFrames }, { "guests", guests } });
}

}    // namespace ld
