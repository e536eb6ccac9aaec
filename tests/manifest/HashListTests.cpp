#include "manifest/FolderCheck.h"
#include "manifest/HashHistory.h"
#include "media/FileHash.h"

#include "support/TempFolder.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

// Hash lists: what they say of a folder, and what is noticed of a folder that has changed.

namespace ld::test
{
namespace
{

using testing::ElementsAre;

std::vector<std::string> namesIn (const juce::StringArray& paths)
{
    std::vector<std::string> names;

    for (const auto& path : paths)
        names.push_back (path.toStdString());

    return names;
}

void flipBit (const juce::File& file, size_t byte, int bit)
{
    juce::MemoryBlock bytes;
    ASSERT_TRUE (file.loadFileAsData (bytes));
    bytes[byte] = (char) (bytes[byte] ^ (1 << bit));
    writeBytes (file, bytes);
}

/** A folder of a few files with two generations of lists, and a source elsewhere. */
struct ListedFolder
{
    ListedFolder()
    {
        folder.getChildFile ("below").createDirectory();
        source.getParentDirectory().createDirectory();
        writeBytes (folder.getChildFile ("a.wav"), bodyOf (std::string (1000, 'a')));
        writeBytes (folder.getChildFile (juce::String::fromUTF8 ("below/Zo\xC3\xAB & co.wav")), bodyOf ("b"));
        EXPECT_TRUE (folder.getChildFile ("empty.txt").create().wasOk());
        writeBytes (source, bodyOf ("a source"));
        HashList sources { .made = {}, .rootPath = source.getParentDirectory().getFullPathName(), .files = {} };
        sources.files = { { source.getFileName(), source.getSize(), {}, *hashOfFile (source), false } };
        folder.getChildFile ("SOURCES_day.mhl").replaceWithText (makeHashList (sources));
        EXPECT_TRUE (addGeneration (folder, list()).wasOk());
        EXPECT_TRUE (addGeneration (folder, list()).wasOk());
    }

    [[nodiscard]] HashList list() const
    {
        HashList list { .made = juce::Time (2026, 10, 25, 4, 32, 21, 0, false), .rootPath = {}, .files = {} };

        for (const auto& file : filesForList (folder))
            list.files.push_back (
                { file.getRelativePathFrom (folder), file.getSize(), {}, hashOfFile (file).value(), false });

        return list;
    }

    [[nodiscard]] FolderCheck check() const { return checkFolder (folder, {}); }

    TempFolder temp;
    juce::File folder = temp.file ("out"), source = temp.file ("day/T1.wav"), lists = folder.getChildFile ("ascmhl");
};

}    // namespace

TEST (FileHash, IsThatOfTheFileInWhateverOrderItIsRead)
{
    // Reference values of the algorithm's own test suite, by xxhsum 0.8.
    for (const auto& [text, hash] : { std::pair { "", "ef46db3751d8e999" }, { "abc", "44bc2cf5ad770999" } })
    {
        Xxh64 sum;
        sum.add (text, std::strlen (text));
        EXPECT_EQ (sum.text(), hash);
    }

    const TempFolder temp;
    std::string bytes;

    for (int i = 0; i < 40'000; ++i)
        bytes += (char) (i * i >> 3);

    const auto file = writeBytes (temp.file ("f"), bodyOf (bytes));
    Xxh64 whole;
    whole.add (bytes.data(), bytes.size());
    const std::vector<std::pair<int, int>> reads[] = {
        {},
        { { 0, 40'000 } },
        { { 100, 900 }, { 1000, 39'000 } },
        { { 30'000, 10'000 }, { 0, 20'000 }, { 10'000, 25'000 } },
        { { 0, 10 }, { 0, 10 }, { 5, 10 }, { 39'999, 1 } },
    };

    for (const auto& order : reads)
    {
        ReadHash hash (file);

        for (const auto& [at, count] : order)
            hash.saw (at, bytes.data() + at, count);

        EXPECT_EQ (hash.finish(), whole.text());
    }

    EXPECT_EQ (hashOfFile (temp.file ("nowhere")), std::nullopt);
}

TEST (HashHistory, ListsHaveTheFormOfTheirSchemaAndAChain)
{
    const ListedFolder listed;
    const auto names = listed.lists.findChildFiles (juce::File::findFiles, false);
    EXPECT_EQ (names.size(), 3);
    const auto second = listed.lists.getChildFile ("0002_out_2026-11-25_043221Z.mhl").loadFileAsString();
    const auto text = second.toStdString();

    for (const auto* part : { "<hashlist version=\"2.0\" xmlns=\"urn:ASC:MHL:v2.0\">",
                              "<creationdate>2026-11-25T04:32:21+00:00</creationdate>",
                              "<process>in-place</process>",
                              "<pattern>ascmhl</pattern>",
                              "<path size=\"1000\"",
                              "below/Zo\xC3\xAB &amp; co.wav",
                              "<xxh64 action=\"verified\" hashdate=\"2026-11-25T04:32:21+00:00\">" })
        EXPECT_THAT (text, testing::HasSubstr (part));

    // SHA-512 of no bytes in base 58, worked out apart.
    EXPECT_EQ (c4Of ({}), "c459dsjfscH38cYeXXYogktxf4Cd9ibshE3BHUo6a58hBXmRQdZrAkZzsWcbWtDg5oQstpDuni4Hirj75GEmTc1sFT");
    const auto chain = listed.lists.getChildFile ("ascmhl_chain.xml").loadFileAsString().toStdString();
    EXPECT_THAT (chain, testing::HasSubstr ("<ascmhldirectory xmlns=\"urn:ASC:MHL:DIRECTORY:v2.0\">"));
    EXPECT_THAT (chain, testing::HasSubstr (c4Of (bodyOf (text)).toStdString()));
}

TEST (HashHistory, OfAnotherProgramIsReadButNeverBelievedBeyondItsFolder)
{
    const auto list =
        parseHashList ("<hashlist version=\"2.0\" xmlns=\"urn:ASC:MHL:v2.0\"><hashes>"
                       "<hash><path size=\"5\">A/a.wav</path><xxh64>0EA03B369A463D9D</xxh64></hash>"
                       "<hash><path size=\"5\">b.wav</path><md5>9e107d9d372bb6826bd81d3542a419d6</md5></hash>"
                       "<hash><path>../c.wav</path><xxh64>0</xxh64></hash>"
                       "<hash><path>/etc/d.wav</path><xxh64>0</xxh64></hash></hashes></hashlist>");
    ASSERT_TRUE (list);
    ASSERT_EQ (list->files.size(), 2u);
    EXPECT_EQ (list->files[0].xxh64, "0ea03b369a463d9d");
    EXPECT_EQ (list->files[1].xxh64, "");

    for (const auto* text : { "", "[]", "<hashlist/>", "<hashlist xmlns=\"urn:ASC:MHL:v2.0\">" })
        EXPECT_EQ (parseHashList (text).has_value(), false) << text;
}

TEST (FolderCheck, NamesWhatIsDamagedMissingAndNew)
{
    const ListedFolder listed;
    const auto whole = listed.check();
    EXPECT_TRUE (whole.isGood());
    EXPECT_EQ (whole.good, 5);
    EXPECT_FALSE (checkFolder (listed.temp.folder, {}).hasLists);

    flipBit (listed.folder.getChildFile ("a.wav"), 999, 7);
    flipBit (listed.source, 0, 0);
    listed.folder.getChildFile ("below").deleteRecursively();
    listed.folder.getChildFile ("new.wav").replaceWithText ("new");
    writeBytes (listed.folder.getChildFile ("conform.done.json"), bodyOf ("{}"));
    listed.lists.getChildFile ("0003_stray.mhl").replaceWithText ("stray");
    const auto check = listed.check();
    EXPECT_THAT (namesIn (check.damaged), ElementsAre ("a.wav", listed.source.getFullPathName().toStdString()));
    EXPECT_THAT (namesIn (check.missing), ElementsAre ("below/Zo\xC3\xAB & co.wav"));
    EXPECT_THAT (namesIn (check.added), ElementsAre ("ascmhl/0003_stray.mhl", "new.wav"));
    EXPECT_EQ (check.good, 2);
    EXPECT_FALSE (check.isGood());
}

TEST (FolderCheck, AFlippedBitAnywhereIsNoticed)
{
    const ListedFolder listed;
    std::vector<juce::File> files = filesForList (listed.folder);
    files.push_back (listed.source);

    for (const auto& file : listed.lists.findChildFiles (juce::File::findFiles, false))
        files.push_back (file);

    for (const auto& file : files)
        for (size_t byte = 0; byte < (size_t) file.getSize(); byte += 1 + (size_t) file.getSize() / 200)
        {
            const auto bit = (int) (byte % 8);
            flipBit (file, byte, bit);
            const auto check = listed.check();
            EXPECT_FALSE (check.isGood()) << file.getFullPathName() << " byte " << byte;
            EXPECT_FALSE (check.damaged.isEmpty() && check.missing.isEmpty()) << file.getFullPathName();
            flipBit (file, byte, bit);
        }

    EXPECT_TRUE (listed.check().isGood());
}

TEST (FolderCheck, NothingIsAddedToListsThatAreDamaged)
{
    const ListedFolder listed;
    flipBit (listed.lists.getChildFile ("0001_out_2026-11-25_043221Z.mhl"), 100, 0);
    EXPECT_THAT (addGeneration (listed.folder, listed.list()).getErrorMessage().toStdString(),
                 testing::HasSubstr ("are damaged"));
    EXPECT_THAT (namesIn (listed.check().damaged), ElementsAre ("ascmhl/0001_out_2026-11-25_043221Z.mhl"));
}

}    // namespace ld::test
