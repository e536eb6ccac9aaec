#pragma once

#include "work/WorkHistory.h"

#include <memory>

namespace ld
{

/** Where programs keep what should outlive a crash: below XDG_STATE_HOME, or the platform's folder for it. */
[[nodiscard]] juce::File recoveryFolder();

/** Work that a program left behind when it was killed. */
struct LostWork
{
    juce::File file;
    juce::Time time;    // of its last change
    SessionDocument document;
};

/** The second copy of the work that one running program keeps. Its name is its own, and a lock that ends with the process
    shows others that it is in use. */
class RecoveryFile
{
public:
    explicit RecoveryFile (juce::File folder = recoveryFolder());
    ~RecoveryFile();
    RecoveryFile (const RecoveryFile&) = delete;
    RecoveryFile& operator= (const RecoveryFile&) = delete;

    /** The copy, to be written by whatever thread; an earlier one is replaced or stays. */
    [[nodiscard]] const juce::File& target() const noexcept { return file; }

    /** What programs that are gone have left, the latest first. Files that cannot be read are left out, and stay. From here
        on they are held by this program: no other is offered them. */
    [[nodiscard]] std::vector<LostWork> takeOver();

    /** Removes what was left behind, once it is open or not wanted. */
    void discard (const LostWork&);

    /** Nothing would be lost any more. */
    void remove();

private:
    struct Held;

    juce::File folder, file;
    std::unique_ptr<juce::InterProcessLock> lock;
    std::vector<std::unique_ptr<Held>> held;    // of others
};

/** Writes the copy; the session file that the work belongs to is noted in it. */
[[nodiscard]] juce::Result writeRecovery (const juce::File& target, SessionDocument, const juce::File& sessionFile);

}    // namespace ld
