#include "workspace/PicturePlayer.h"

#include "support/MessageLoop.h"
#include "support/RunProgram.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

/** Movies of plain colours, a second each at 25 frames per second, made by the system's tool. */
class Picture : public testing::Test
{
protected:
    Picture()
    {
        player.setSize (220, 124);
        make ({ "-f",
                "lavfi",
                "-i",
                "color=red:s=160x90:r=25:d=1",
                "-f",
                "lavfi",
                "-i",
                "color=lime:s=160x90:r=25:d=1",
                "-f",
                "lavfi",
                "-i",
                "color=blue:s=160x90:r=25:d=1",
                "-filter_complex",
                "concat=n=3:v=1" },
              movie);
    }

    void make (juce::StringArray arguments, const juce::File& file)
    {
        juce::ChildProcess encoder;
        arguments.insert (0, "ffmpeg");
        arguments.addArray ({ "-loglevel", "error", "-y", file.getFullPathName() });
        EXPECT_TRUE (encoder.start (arguments));
        EXPECT_EQ (encoder.readAllProcessOutput(), "");
        EXPECT_EQ (encoder.getExitCode(), 0u);
    }

    [[nodiscard]] juce::Colour middle()
    {
        return player.createComponentSnapshot (player.getLocalBounds(), true, 1.0f).getPixelAt (110, 62);
    }

    // Movies keep colour coarsely.
    bool shows (juce::Colour colour)
    {
        return pumpUntil ([&] {
            const auto seen = middle();
            return std::abs (seen.getRed() - colour.getRed()) < 40
                   && std::abs (seen.getGreen() - colour.getGreen()) < 40
                   && std::abs (seen.getBlue() - colour.getBlue()) < 40;
        });
    }

    TempFolder temp;
    const juce::File movie = temp.file ("colours.mp4");
    PicturePlayer player;
};

}    // namespace

TEST_F (Picture, ShowsTheFrameOfItsPosition)
{
    ASSERT_TRUE (player.load (movie).wasOk());
    EXPECT_NEAR (player.duration(), 3.0, 0.05);
    EXPECT_FALSE (player.isPlaying());
    EXPECT_TRUE (shows (juce::Colours::red));

    player.setPosition (1.5);
    EXPECT_TRUE (shows (juce::Colours::lime));
    EXPECT_TRUE (pumpUntil ([&] { return std::abs (player.position() - 1.5) < 0.05; }));

    // Of many positions in a row the last one is shown.
    for (int i = 0; i <= 200; ++i)
        player.setPosition (i / 80.0);

    EXPECT_NEAR (player.position(), 2.5, 1e-6) << "on its way";
    EXPECT_TRUE (shows (juce::Colours::blue));
    player.setPosition (100.0);
    EXPECT_TRUE (pumpUntil ([&] { return player.position() > 2.9; }));
}

TEST_F (Picture, PlaysUntilItIsStopped)
{
    ASSERT_TRUE (player.load (movie).wasOk());
    player.play();
    EXPECT_TRUE (player.isPlaying());
    EXPECT_TRUE (pumpUntil ([&] { return player.position() > 0.3; }));
    player.stop();
    EXPECT_FALSE (player.isPlaying());
    EXPECT_LT (player.position(), 3.0);

    player.setPosition (2.8);
    player.play();
    EXPECT_TRUE (pumpUntil ([&] { return ! player.isPlaying(); })) << "it ends at its end";
}

TEST_F (Picture, RefusesWhatItCannotShowAndKeepsWhatItHas)
{
    const auto text = temp.file ("text.mov"), sound = temp.file ("sound.mp4");
    text.replaceWithText ("no movie");
    make ({ "-f", "lavfi", "-i", "sine=d=1" }, sound);

    EXPECT_EQ (player.load (temp.file ("none.mov")).getErrorMessage(), "There is no none.mov.");
    EXPECT_EQ (player.load (text).getErrorMessage(), "Could not show text.mov as a picture.");
    ASSERT_TRUE (player.load (movie).wasOk());
    EXPECT_EQ (player.load (sound).getErrorMessage(), "Could not show sound.mp4 as a picture.");
    EXPECT_NEAR (player.duration(), 3.0, 0.05);
    EXPECT_TRUE (shows (juce::Colours::red));
}

TEST_F (Picture, ClosesAndGoesWhilePlaying)
{
    player.play();
    player.setPosition (1.0);
    EXPECT_EQ (player.position(), 0.0) << "nothing is loaded";

    for (int i = 0; i < 3; ++i)
    {
        PicturePlayer other;
        other.setSize (100, 50);
        ASSERT_TRUE (other.load (movie).wasOk());
        other.play();
        other.setSize (60, 80);

        if (i == 1)
            other.close();
    }

    deliverPostedCalls();
    EXPECT_EQ (middle(), juce::Colours::black);
}

}    // namespace ld::test
