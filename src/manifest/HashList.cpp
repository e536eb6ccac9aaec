#include "manifest/HashList.h"

#include <pugixml.hpp>

#include <algorithm>
#include <sstream>

namespace ld
{
namespace
{

constexpr auto listSpace = "urn:ASC:MHL:v2.0";
constexpr auto toolName = "Lodestrand";
constexpr auto ownSpace = "urn:lodestrand:mhl";
constexpr const char* ignored[] = { "ascmhl", ".DS_Store", "conform.done.json", "conform.state" };

juce::String fieldText (int value, int digits)
{
    return juce::String (value).paddedLeft ('0', digits);
}

void addText (pugi::xml_node parent, const char* name, const juce::String& text)
{
    parent.append_child (name).text().set (text.toRawUTF8());
}

// One that climbs out of its root would name anybody's file.
bool staysBelowRoot (const juce::String& path)
{
    const auto parts = juce::StringArray::fromTokens (path, "/", "");
    return path.isNotEmpty() && ! juce::File::isAbsolutePath (path) && ! parts.contains ("..");
}

void addFile (pugi::xml_node hashes, const HashedFile& file, const juce::String& made)
{
    auto hash = hashes.append_child ("hash");
    auto path = hash.append_child ("path");
    path.append_attribute ("size").set_value ((long long) file.size);
    path.append_attribute ("lastmodificationdate").set_value (listTime (file.modified).toRawUTF8());
    path.text().set (file.path.toRawUTF8());
    auto sum = hash.append_child ("xxh64");
    sum.append_attribute ("action").set_value (file.wasVerified ? "verified" : "original");
    sum.append_attribute ("hashdate").set_value (made.toRawUTF8());
    sum.text().set (file.xxh64.toRawUTF8());
}

HashedFile fileOf (pugi::xml_node hash)
{
    const auto path = hash.child ("path");
    return { juce::String::fromUTF8 (path.text().get()),
             path.attribute ("size").as_llong(),
             juce::Time::fromISO8601 (path.attribute ("lastmodificationdate").value()),
             juce::String (hash.child ("xxh64").text().get()).trim().toLowerCase(),
             false };
}

}    // namespace

juce::String listTime (juce::Time time)
{
    const auto utc = time - juce::RelativeTime::seconds (time.getUTCOffsetSeconds());
    return fieldText (utc.getYear(), 4) + "-" + fieldText (utc.getMonth() + 1, 2) + "-"
           + fieldText (utc.getDayOfMonth(), 2) + "T" + fieldText (utc.getHours(), 2) + ":"
           + fieldText (utc.getMinutes(), 2) + ":" + fieldText (utc.getSeconds(), 2) + "+00:00";
}

bool isIgnoredByLists (const juce::String& fileName)
{
    return std::ranges::any_of (ignored, [&] (const char* name) { return fileName == name; });
}

juce::String makeHashList (const HashList& list)
{
    const auto made = listTime (list.made);
    pugi::xml_document document;
    auto declaration = document.append_child (pugi::node_declaration);
    declaration.append_attribute ("version") = "1.0";
    declaration.append_attribute ("encoding") = "UTF-8";
    auto root = document.append_child ("hashlist");
    root.append_attribute ("version") = "2.0";
    root.append_attribute ("xmlns") = listSpace;

    auto creator = root.append_child ("creatorinfo");
    addText (creator, "creationdate", made);
    addText (creator, "hostname", juce::SystemStats::getComputerName());
    auto tool = creator.append_child ("tool");
    tool.append_attribute ("version") = JUCE_APPLICATION_VERSION_STRING;
    tool.text().set (toolName);

    auto process = root.append_child ("processinfo");
    addText (process, "process", "in-place");
    auto ignore = process.append_child ("ignore");

    for (const auto* name : ignored)
        addText (ignore, "pattern", name);

    auto hashes = root.append_child ("hashes");

    for (const auto& file : list.files)
        addFile (hashes, file, made);

    if (list.rootPath.isNotEmpty())
    {
        auto folder = root.append_child ("metadata").append_child ("root");
        folder.append_attribute ("xmlns") = ownSpace;
        folder.text().set (list.rootPath.toRawUTF8());
    }

    std::ostringstream text;
    document.save (text, "  ");
    return juce::String::fromUTF8 (text.str().c_str());
}

std::optional<HashList> parseHashList (const juce::String& text)
{
    pugi::xml_document document;

    if (! document.load_string (text.toRawUTF8()))
        return {};

    const auto root = document.child ("hashlist");

    if (juce::String (root.attribute ("xmlns").value()) != listSpace)
        return {};

    HashList list;
    list.made = juce::Time::fromISO8601 (root.child ("creatorinfo").child ("creationdate").text().get());
    list.isOurs = juce::String (root.child ("creatorinfo").child ("tool").text().get()) == toolName;
    list.rootPath = juce::String::fromUTF8 (root.child ("metadata").child ("root").text().get());

    for (const auto hash : root.child ("hashes").children ("hash"))
        if (const auto file = fileOf (hash); staysBelowRoot (file.path))
            list.files.push_back (file);

    return list;
}

}    // namespace ld
