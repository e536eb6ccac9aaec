#include "demo/TruthShoot.h"
#include "demo/TruthTable.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <map>

// How right the program's places are: it scans shoots of known truth, and its reports are held against that.

namespace
{

constexpr int exitDone = 0, exitNotDone = 1;

struct Options
{
    std::vector<int> seeds { 1, 2, 3 };
    std::vector<ld::TruthKind> kinds;
    std::string keep;
    std::vector<std::string> reportOnly;
    int takes = 0, seconds = 0;
    bool isList = false;
};

/** A folder for shoots, removed at the end where nobody wants to keep it. */
class WorkFolder
{
public:
    explicit WorkFolder (const std::string& keep)
        : isKept (! keep.empty()),
          folder (isKept ? juce::File::getCurrentWorkingDirectory().getChildFile (juce::String::fromUTF8 (keep.c_str()))
                         : juce::File::createTempFile ("truth"))
    {
        folder.createDirectory();
    }

    ~WorkFolder() { discard (folder); }
    WorkFolder (const WorkFolder&) = delete;
    WorkFolder& operator= (const WorkFolder&) = delete;

    [[nodiscard]] juce::File child (const juce::String& name) const { return folder.getChildFile (name); }

    void discard (const juce::File& what) const
    {
        if (! isKept)
            what.deleteRecursively();
    }

private:
    bool isKept;
    juce::File folder;
};

std::map<std::string, ld::TruthKind> kindsByName()
{
    std::map<std::string, ld::TruthKind> kinds;

    for (const auto kind : ld::allTruthKinds)
        kinds[ld::nameOf (kind).toStdString()] = kind;

    return kinds;
}

/** Runs the program on a shoot; nothing where it made no report. */
std::optional<ld::TimedScore> conform (const juce::File& shoot, const juce::File& report, const juce::StringArray& how)
{
    juce::StringArray words {
        LD_CONFORM_PROGRAM, shoot.getFullPathName(), "--quiet", "--report", report.getFullPathName()
    };
    words.addArray (how);
    const auto start = juce::Time::getMillisecondCounterHiRes();
    juce::ChildProcess program;

    if (report.deleteFile(); ! program.start (words))
        return {};

    const auto said = program.readAllProcessOutput();
    program.waitForProcessToFinish (-1);
    const auto seconds = (juce::Time::getMillisecondCounterHiRes() - start) / 1000.0;

    if (! report.existsAsFile())
    {
        std::cerr << said << std::endl;
        return {};
    }

    return ld::TimedScore {
        ld::scoreReport (ld::readShootTruth (shoot), ld::readConformReport (juce::JSON::parse (report))), seconds
    };
}

void show (const juce::String& title, const std::vector<ld::TimedScore>& scores, bool isList)
{
    for (const auto& [score, seconds] : scores)
        if (isList)
            std::cout << title << ", seed " << score.seed << ":\n" << ld::listMistakes (score) << "\n";

    std::cout << ld::describeScores (title, scores) << std::flush;
}

int showReport (const Options& options)
{
    const auto pathOf = [] (const std::string& path) {
        return juce::File::getCurrentWorkingDirectory().getChildFile (juce::String::fromUTF8 (path.c_str()));
    };
    const auto shoot = pathOf (options.reportOnly[0]), report = pathOf (options.reportOnly[1]);
    const auto truth = ld::readShootTruth (shoot);
    const auto json = juce::JSON::parse (report);

    if (truth.takes.empty() || ! json["takes"].isArray())
    {
        std::cerr << "There is no truth.json in the shoot, or no report of it." << std::endl;
        return exitNotDone;
    }

    show (truth.kind, { { ld::scoreReport (truth, ld::readConformReport (json)), 0.0 } }, options.isList);
    return exitDone;
}

int measure (const Options& options)
{
    const WorkFolder work (options.keep);
    std::vector<ld::TimedScore> all;

    for (const auto kind : options.kinds)
    {
        std::vector<ld::TimedScore> scanned, written;

        for (const auto seed : options.seeds)
        {
            const auto name = ld::nameOf (kind) + "-" + juce::String (seed);
            const auto shoot = work.child (name), out = work.child (name + "-out");

            if (const auto made = ld::writeTruthShoot ({ shoot, kind, options.takes, options.seconds, 0, seed });
                made.failed())
            {
                std::cerr << made.getErrorMessage() << std::endl;
                return exitNotDone;
            }

            const auto scan = conform (shoot, work.child (name + ".json"), { "--scan-only" });

            if (! scan)
                return exitNotDone;

            scanned.push_back (*scan);

            if (kind == ld::TruthKind::day && seed == options.seeds.front())
                if (const auto whole =
                        conform (shoot, work.child (name + "-out.json"), { "--out", out.getFullPathName() }))
                    written.push_back (*whole);

            work.discard (out);
            work.discard (shoot);
        }

        show (ld::nameOf (kind), scanned, options.isList);

        if (! written.empty())
            show (ld::nameOf (kind) + ", written", written, options.isList);

        all.insert (all.end(), scanned.begin(), scanned.end());
    }

    show ("all scans", all, false);
    return exitDone;
}

}    // namespace

int main (int argc, char** argv)
try
{
    CLI::App app { "Holds the places that lodestrand-conform finds against shoots of known truth." };
    Options options;
    options.kinds.assign (ld::allTruthKinds.begin(), ld::allTruthKinds.end());
    app.add_option ("--seeds", options.seeds, "which shoots of each kind, by comma")
        ->delimiter (',')
        ->capture_default_str();
    app.add_option ("--kinds", options.kinds, "day, short, music, strangers, bad, by comma; all if not given")
        ->delimiter (',')
        ->transform (CLI::CheckedTransformer (kindsByName(), CLI::ignore_case));
    app.add_option ("--takes", options.takes, "how many takes a shoot has; each kind's own number if not given");
    app.add_option ("--seconds", options.seconds, "length of a take; each kind's own if not given");
    app.add_option ("--keep", options.keep, "a folder where shoots and reports stay");
    app.add_option (
           "--report-only", options.reportOnly, "a shoot and a report of it, which are held against each other")
        ->expected (2);
    app.add_flag ("--list", options.isList, "name each lane, pair and clock that is not right");
    CLI11_PARSE (app, argc, argv);

    return options.reportOnly.empty() ? measure (options) : showReport (options);
}
catch (const std::exception& error)
{
    std::cerr << "lodestrand-bench-truth: It could not go on: " << error.what() << std::endl;
    return exitNotDone;
}
