#include "manifest/HashHistory.h"

#include "output/ReplacingFile.h"

#include <nettle/sha2.h>
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <ranges>
#include <sstream>

namespace ld
{
namespace
{

constexpr auto chainSpace = "urn:ASC:MHL:DIRECTORY:v2.0";
constexpr auto chainName = "ascmhl_chain.xml";

juce::File listFolderOf (const juce::File& folder)
{
    return folder.getChildFile ("ascmhl");
}

juce::MemoryBlock bytesOfFile (const juce::File& file)
{
    juce::MemoryBlock bytes;
    juce::ignoreUnused (file.loadFileAsData (bytes));
    return bytes;
}

juce::String makeChain (const std::vector<HashHistory::Generation>& generations)
{
    pugi::xml_document document;
    auto declaration = document.append_child (pugi::node_declaration);
    declaration.append_attribute ("version") = "1.0";
    declaration.append_attribute ("encoding") = "UTF-8";
    auto root = document.append_child ("ascmhldirectory");
    root.append_attribute ("xmlns") = chainSpace;

    for (const auto& generation : generations)
    {
        auto entry = root.append_child ("hashlist");
        entry.append_attribute ("sequencenr") = generation.number;
        entry.append_child ("path").text().set (generation.fileName.toRawUTF8());
        entry.append_child ("c4").text().set (generation.c4.toRawUTF8());
    }

    std::ostringstream text;
    document.save (text, "  ");
    return juce::String::fromUTF8 (text.str().c_str());
}

juce::MemoryBlock utf8Of (const juce::String& text)
{
    return { text.toRawUTF8(), text.getNumBytesAsUTF8() };
}

// Its own folder holds it, whatever a chain says.
juce::File listAt (const juce::File& folder, const juce::String& name)
{
    return listFolderOf (folder).getChildFile (juce::File::createLegalFileName (name));
}

void readGeneration (const juce::File& folder, pugi::xml_node entry, HashHistory& history)
{
    HashHistory::Generation generation;
    generation.number = entry.attribute ("sequencenr").as_int();
    generation.fileName = juce::String::fromUTF8 (entry.child ("path").text().get());
    generation.c4 = entry.child ("c4").text().get();
    const auto file = listAt (folder, generation.fileName);
    const auto shown = "ascmhl/" + generation.fileName;

    if (! file.existsAsFile())
        return history.missing.add (shown);

    const auto bytes = bytesOfFile (file);
    auto list = parseHashList (bytes.toString());

    if (c4Of (bytes) != generation.c4 || ! list || generation.number != generation.fileName.getIntValue())
        return history.damaged.add (shown);

    generation.list = std::move (*list);
    history.generations.push_back (std::move (generation));
}

void noteUnknownLists (const juce::File& folder, HashHistory& history)
{
    juce::StringArray known;

    for (const auto& generation : history.generations)
        known.add ("ascmhl/" + generation.fileName);

    known.addArray (history.damaged);

    for (const auto& file : listFolderOf (folder).findChildFiles (juce::File::findFiles, false))
        if (const auto shown = "ascmhl/" + file.getFileName();
            file.getFileName() != chainName && ! known.contains (shown))
            history.unknown.add (shown);
}

// Bytes that do not go through the text writer: the chain has their hash.
bool replaceBytes (const juce::File& file, const juce::MemoryBlock& bytes)
{
    ReplacingFile target (file);
    return target.isOpen() && target.write (bytes.getData(), bytes.getSize())
           && target.finish() == ReplacingFile::Outcome::replaced;
}

// 0001_<folder>_2026-11-25_043221Z.mhl
juce::String listNameOf (int number, const juce::File& folder, juce::Time made)
{
    const auto time = listTime (made);
    return juce::String (number).paddedLeft ('0', 4) + "_" + folder.getFileName() + "_" + time.substring (0, 10) + "_"
           + time.substring (11, 19).removeCharacters (":") + "Z.mhl";
}

}    // namespace

juce::String c4Of (const juce::MemoryBlock& bytes)
{
    constexpr auto letters = "123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz";
    constexpr int base = 58, length = 88;
    std::array<juce::uint8, SHA512_DIGEST_SIZE> number {};
    sha512_ctx context;
    sha512_init (&context);
    sha512_update (&context, bytes.getSize(), static_cast<const juce::uint8*> (bytes.getData()));
    sha512_digest (&context, number.size(), number.data());
    std::string digits ((size_t) length, letters[0]);

    // Divides the number, most significant byte first, once for each digit.
    for (auto& digit : std::views::reverse (digits))
    {
        auto rest = 0;

        for (auto& byte : number)
        {
            const auto value = rest * 256 + byte;
            byte = (juce::uint8) (value / base);
            rest = value % base;
        }

        digit = letters[rest];
    }

    return "c4" + juce::String (digits);
}

HashHistory readHistory (const juce::File& folder)
{
    HashHistory history;
    const auto chain = listFolderOf (folder).getChildFile (chainName);
    history.exists = chain.existsAsFile();
    pugi::xml_document document;

    if (history.exists)
    {
        const auto bytes = bytesOfFile (chain);
        const auto isChain =
            document.load_buffer (bytes.getData(), bytes.getSize())
            && juce::String (document.child ("ascmhldirectory").attribute ("xmlns").value()) == chainSpace;

        if (! isChain)
            history.damaged.add (juce::String ("ascmhl/") + chainName);

        for (const auto entry : document.child ("ascmhldirectory").children ("hashlist"))
            readGeneration (folder, entry, history);

        // What nobody else has written must be what this program writes, to the last byte.
        const auto& all = history.generations;
        const auto isOurs = std::ranges::all_of (all, [] (const auto& generation) { return generation.list.isOurs; });

        if (isOurs && history.damaged.isEmpty() && history.missing.isEmpty() && bytes != utf8Of (makeChain (all)))
            history.damaged.add (juce::String ("ascmhl/") + chainName);
    }

    noteUnknownLists (folder, history);
    return history;
}

std::map<juce::String, HashedFile> filesKnownTo (const HashHistory& history)
{
    std::map<juce::String, HashedFile> known;

    for (const auto& generation : history.generations)
        for (const auto& file : generation.list.files)
            known.insert_or_assign (file.path, file);

    return known;
}

juce::Result addGeneration (const juce::File& folder, HashList list)
{
    auto history = readHistory (folder);

    if (! history.damaged.isEmpty() || ! history.missing.isEmpty())
        return juce::Result::fail ("The hash lists of " + folder.getFullPathName()
                                   + " are damaged; nothing was added to them");

    const auto known = filesKnownTo (history);

    for (auto& file : list.files)
        if (const auto before = known.find (file.path); before != known.end())
            file.wasVerified = before->second.xxh64 == file.xxh64;

    HashHistory::Generation generation;
    generation.number = history.generations.empty() ? 1 : history.generations.back().number + 1;
    generation.fileName = listNameOf (generation.number, folder, list.made);
    const auto file = listAt (folder, generation.fileName);
    const auto bytes = utf8Of (makeHashList (list));
    generation.c4 = c4Of (bytes);
    history.generations.push_back (generation);

    // The chain last: a list that it does not name is no generation.
    if (listFolderOf (folder).createDirectory().failed() || ! replaceBytes (file, bytes)
        || ! replaceBytes (listFolderOf (folder).getChildFile (chainName), utf8Of (makeChain (history.generations))))
        return juce::Result::fail ("Could not write the hash list " + file.getFullPathName());

    return juce::Result::ok();
}

}    // namespace ld
