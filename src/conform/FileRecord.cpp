#include "conform/FileRecord.h"

#include "media/FileHash.h"
#include "output/JsonFields.h"
#include "output/JsonValues.h"

#include <chrono>
#include <filesystem>

namespace ld
{
namespace
{

// The framework knows whole seconds only, within which a file can be written twice.
juce::int64 modifiedAt (const juce::File& file)
{
    std::error_code failed;
    const std::filesystem::path path (file.getFullPathName().toStdString());
    const auto time = std::chrono::file_clock::to_sys (std::filesystem::last_write_time (path, failed));
    return failed ? 0 : std::chrono::duration_cast<std::chrono::microseconds> (time.time_since_epoch()).count();
}

}    // namespace

FileRecord recordOf (const juce::File& file, const juce::String& xxh64)
{
    if (! file.existsAsFile())
        return { .file = file };

    return { file, file.getSize(), modifiedAt (file), xxh64 };
}

bool isAsRecorded (const FileRecord& record)
{
    const auto now = recordOf (record.file, record.xxh64);
    return now == record
           || (now.size == record.size && record.xxh64.isNotEmpty() && hashOfFile (record.file) == record.xxh64);
}

juce::var describeRecord (const FileRecord& record)
{
    return makeJsonObject ({ { "path", record.file.getFullPathName() },
                             { "size", record.size },
                             { "modified", record.modified },
                             { "xxh64", record.xxh64 } });
}

FileRecord readRecord (const juce::var& value)
{
    const Fields fields (value);
    FileRecord record;
    fields.read ("path", record.file);
    fields.read ("size", record.size);
    fields.read ("modified", record.modified);
    fields.read ("xxh64", record.xxh64);
    return record;
}

}    // namespace ld
