#pragma once
// The profile-string functions over files: GetPrivateProfileString and friends for reading,
// WritePrivateProfileString and WritePrivateProfileSection for writing, with the behaviour of ini_text.h.
//
// Reads are served from a cache of parsed files, so the many single-key reads of a settings dialog or a raw
// log do not read and parse the file each time. A cached file is used again only while its size and
// modification time are unchanged; when the modification time is too recent to be trusted (another write
// in the same clock tick would not move it), the bytes are compared before the cached parse is used.
// Writes always start from the bytes on disk, so a change made by another program in between is kept.
//
// Every write replaces the whole file crash-safely (common/atomic_file.h) with the folder locked against
// other processes from the read of the old bytes to the rename of the new ones. A FileBatch gathers the
// writes of one save operation (a dialog's section, all of the options) into one such replacement.
//
// A read can be limited to the first `limit` bytes of the file: a raw log's text part ends where its
// binary block begins, and the readers pass that offset so that 20 MB of waveforms are neither read nor
// parsed. The answers are those the whole-file read gives for a file holding only those bytes.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zel::ini {

using ReadLimit = std::optional<std::uintmax_t>;

// The value of section/key, at most bufferSize - 1 characters. A missing file, section or key gives
// the default with its trailing spaces removed (also cut to bufferSize - 1).
// Only the first 256 MiB of a file are looked at (a text part never comes near that); a file larger than
// that cannot be edited, and writes to it fail.
std::string profileString(const std::string& path, std::string_view section, std::string_view key,
                          std::string_view defaultValue, std::size_t bufferSize, ReadLimit limit = {});
// NUL-separated lists as packList() describes: the keys of a section, the "key=value" lines of a section,
// and the section names of the file.
std::string profileKeyNames(const std::string& path, std::string_view section, std::size_t bufferSize,
                            ReadLimit limit = {});
std::string profileSection(const std::string& path, std::string_view section, std::size_t bufferSize,
                           ReadLimit limit = {});
std::string profileSectionNames(const std::string& path, std::size_t bufferSize, ReadLimit limit = {});

// Writes return what the profile functions return: non-zero on success, 0 when the file could not be read
// or written (a missing folder, no permission, a file too large to edit in memory).
long writeProfileString(const std::string& path, std::string_view section, std::string_view key,
                        std::string_view value);
// Deleting from a file that does not exist changes nothing on disk (no empty file is created) and succeeds.
long deleteProfileKey(const std::string& path, std::string_view section, std::string_view key);
long deleteProfileSection(const std::string& path, std::string_view section);
// entries: NUL-separated lines ("key=value"), ended by an empty entry or the end of the text.
long writeProfileSection(const std::string& path, std::string_view section, std::string_view entries);

// While a FileBatch of a path lives, the writes, deletes and reads of that path (on this thread; other
// threads wait for it) work on its text in memory, with the profile functions' exact edits and answers;
// the text is written once, when the batch is committed or destroyed. The folder stays locked against other
// processes for the batch's life, so no other copy of the program can slip a change in between. Batches of
// the same path nest (the outermost one writes).
class FileBatch {
public:
    explicit FileBatch(const std::string& path);
    ~FileBatch();
    FileBatch(const FileBatch&) = delete;
    FileBatch& operator=(const FileBatch&) = delete;
    // Writes the file now (an outer batch of the same path: nothing yet) and ends the batch; non-zero on
    // success or when nothing needed writing. The destructor commits a batch not yet committed.
    long commit();

private:
    std::string path_;
    std::string key_;
    bool open_ = false;
};

// Drops every cached parse (the next read of any file goes to the disk).
void forgetCachedFiles();
// How many times a file's bytes were read from disk since the program started; lets tests and the
// benchmark see whether a read was served from the cache.
std::uint64_t fileReadCount();
// How many times a file was written (replaced) since the program started.
std::uint64_t fileWriteCount();

} // namespace zel::ini
