#include "PlugSetter/SavedFile.h"

#include "Mis/Log.h"
#include "Mis/Report.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/SafeOpen.h"
#include "Mis/Unix/Synchronise.h"
#include "Mis/Unix/WholeFile.h"
#include "PlugSetter/Guard.h"
#include "PlugSetter/Process.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <utility>

#include <fcntl.h>

namespace {

constexpr mode_t ownerOnly = 0600;
constexpr int withoutWaiting = O_RDONLY | O_NONBLOCK;

/// An entry of a directory that goes at the end of a block if it is still there.
struct TemporaryEntry {
    int directory;
    std::string name;
    bool isThere = false;

    ~TemporaryEntry() {
        if (isThere) {
            sys_removeIn(directory, name);
        }
    }
};

std::string NameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

bool IsOneOf(std::initializer_list<int> errors, int error) noexcept {
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

/// True when a file cannot be made in a directory, or moved to its place there, because of what the directory or the
/// place is. A full disk is none of these reasons.
bool IsNotLet(int error) noexcept {
    return IsOneOf({EACCES, EPERM, EROFS, EEXIST, EISDIR, EBUSY}, error);
}

/// What it means that the file cannot be opened for writing.
SavedFile::Writing WhyNotOpen(int error) noexcept {
    return IsOneOf({EACCES, EPERM, EROFS}, error)                    ? SavedFile::Writing::refused
           : IsOneOf({ENOENT, ENOTDIR, ELOOP, ENXIO, EISDIR}, error) ? SavedFile::Writing::changed
                                                                     : SavedFile::Writing::failed;
}

/// Writes the copy over the file. The copy must be as long as it was when it was made.
bool PutBack(int file, int copy, off_t size) {
    FileContent content;
    if (sys_readFile(copy, UINT64_MAX, content) < 1 || static_cast<off_t>(content.size) != size) {
        return false;
    }
    return sys_overwrite(file, FileStatus::Of(file), std::string(content.Text())) == static_cast<long>(size) &&
           sys_holdsSame(file, copy);
}

} // namespace

SavedFile::SavedFile(std::string path) : m_path(std::move(path)) {}

Presence SavedFile::Open() {
    OpenedFile file = sys_openInput(m_path);
    if (file.isRefused) {
        err_fail(msgCannotLoad, m_path.c_str());
    }
    if (!file.IsOpen()) {
        const Presence presence = FileStatus::Of(m_path).GetPresence();
        if (presence == Presence::present) {
            err_fail(msgCannotOpen, m_path.c_str());
        }
        return presence;
    }
    m_file = std::move(file.file);
    m_status = file.status;
    return Presence::present;
}

void SavedFile::CopyTo(const std::string& copy, DirectoryLock& first) try {
    assert(m_file.IsOpen());
    m_directory.Open(copy, first);
    const FileStatus place = FileStatus::OfEntry(m_directory.Number(), NameOf(copy));
    CheckPlace(place, copy);
    const bool isBeside = place.GetPresence() == Presence::missing || place.IsRegular();
    if (!isBeside || !CopyBeside(copy)) {
        sys_rewind(m_file.Number());
        CopyInPlace(copy, place);
    }
    if (!m_directory.Synchronise()) {
        err_fail(msgUnexpected, copyLabel);
    }
} catch (...) {
    throwAsError(copyLabel);
}

/// Throws when the copy must not be written over the file with this status.
void SavedFile::CheckPlace(const FileStatus& place, const std::string& copy) const {
    if (place.IsSameAs(m_status)) {
        err_fail(msgCannotCreate, copy.c_str());
    }
    if (place.IsPresent() && logfp != nullptr && place.IsSameAs(FileStatus::Of(fileno(logfp)))) {
        err_fail(msgUnexpected, changeLabel);
    }
}

/// Returns: false when the directory does not let the copy be made so; nothing is changed then.
bool SavedFile::CopyBeside(const std::string& copy) {
    const int directory = m_directory.Number();
    const std::string name = NameOf(copy);
    TemporaryEntry beside = {directory, name + ".new"};
    OpenedFile output = sys_createIn(directory, beside.name);
    if (output.error == EEXIST) {
        // A run that was killed has left it, unless it is one of the files of this run.
        CheckPlace(FileStatus::OfEntry(directory, beside.name), copy);
        sys_removeIn(directory, beside.name);
        output = sys_createIn(directory, beside.name);
    }
    beside.isThere = output.created;
    if (output.IsOpen()) {
        Fill(output, copy);
        output.error = sys_renameIn(directory, beside.name, name);
        beside.isThere = output.error != 0;
    }
    if (IsNotLet(output.error)) {
        return false;
    }
    if (output.error != 0) {
        err_fail(output.IsOpen() ? msgNotWritten : msgCannotCreate, copy.c_str());
    }
    if (!FileStatus::OfEntry(directory, name).IsSameAs(output.status)) {
        err_fail(msgUnexpected, copyLabel);
    }
    m_copy = std::move(output.file);
    return true;
}

void SavedFile::CopyInPlace(const std::string& copy, const FileStatus& place) {
    OpenedFile output = sys_openOutput(NameOf(copy), O_RDWR, ownerOnly, m_directory.Number());
    CheckPlace(output.status, copy);
    const bool isNew = output.created || !output.status.IsRegular();
    if (!output.IsOpen() || (!isNew && !(MakeFit(output, place) && sys_setSize(output.Number(), 0)))) {
        err_fail(msgCannotCreate, copy.c_str());
    }
    TemporaryEntry made = {m_directory.Number(), output.path, output.created};
    Fill(output, copy);
    made.isThere = false;
    m_copy = std::move(output.file);
}

/// `place` is what stands in the place of the copy: an earlier copy, which others may have open if they can read it, or
/// a link of ours to the open file, which is narrowed unless it has further names. Returns: false when the file is not
/// fit for the copy.
bool SavedFile::MakeFit(const OpenedFile& output, const FileStatus& place) const {
    const FileStatus& status = output.status;
    const FileAccess access = Access();
    if (place.IsRegular()) {
        return status.HasOneName() && sys_isAsClose(output.Number(), status, access);
    }
    return !status.HasOneName() || sys_narrowAccess(output.Number(), status, access);
}

void SavedFile::Fill(const OpenedFile& output, const std::string& copy) const {
    const FileAccess access = sys_underUmask(Access());
    const bool isGiven = !output.status.HasOneName() || sys_giveAccess(output.Number(), output.status, access);
    if (!isGiven && !output.created) {
        err_fail(msgCannotCreate, copy.c_str());
    }
    const CopyResult result = sys_copyBytes(m_file.Number(), output.Number());
    if (result.writeError != 0) {
        err_failBecause(err_make(msgSystemError, std::strerror(result.writeError)), msgNotWritten, copy.c_str());
    }
    // Only regular files have a size; accept whatever could be read of anything else.
    const bool isComplete = !m_status.IsRegular() || (result.isReadToEnd && result.size == m_status.Size());
    if (!isComplete || !sys_synchronise(output.Number())) {
        err_fail(msgUnexpected, copyLabel);
    }
}

/// `now` is the status of `file`, which is open and is the file that was copied.
bool SavedFile::HoldsWhatWasCopied(const FileStatus& now, int file) const {
    if (!m_status.IsRegular()) {
        return true;
    }
    if (now.Size() != m_status.Size()) {
        return false;
    }
    return now.HasTimeOf(m_status) || sys_holdsSame(file, m_copy.Number());
}

SavedFile::Reading SavedFile::Read(std::uint64_t limit, FileContent& content) const {
    assert(m_copy.IsOpen());
    const int file = m_file.Number();
    if (sys_readFile(file, m_status.Size(), limit, content) < 1) {
        return Reading::failed;
    }
    return HoldsWhatWasCopied(FileStatus::Of(file), file) ? Reading::done : Reading::changed;
}

SavedFile::Writing SavedFile::Write(std::string text) {
    assert(m_copy.IsOpen());
    holdSignals();
    OpenedFile output = sys_openToChange(m_path);
    if (!output.IsOpen()) {
        return output.isRefused ? Writing::changed : WhyNotOpen(output.error);
    }
    // The status of the file that is held is asked for again: on some file systems the opening has changed it.
    const bool isCopied =
        output.status.IsSameAs(FileStatus::Of(m_file.Number())) && HoldsWhatWasCopied(output.status, output.Number());
    if (!isCopied) {
        return Writing::changed;
    }
    m_output = std::move(output.file);
    const long written = sys_overwrite(m_output.Number(), output.status, std::move(text));
    return written > 0 ? Writing::done : written == 0 ? Writing::failed : Writing::refused;
}

FileAccess SavedFile::Access() const {
    assert(m_file.IsOpen());
    return sys_accessOf(m_file.Number(), m_status);
}

bool SavedFile::IsUntouched() const {
    assert(m_copy.IsOpen());
    if (!m_status.IsRegular() || !FileStatus::Of(m_copy.Number()).IsRegular()) {
        return false;
    }
    const FileStatus now = FileStatus::Of(m_path);
    return now.IsSameAs(FileStatus::Of(m_file.Number())) && HoldsWhatWasCopied(now, m_file.Number());
}

bool SavedFile::Restore() const {
    assert(m_copy.IsOpen());
    if (!m_output.IsOpen()) {
        const bool isUntouched = IsUntouched();
        if (isUntouched) {
            sys_touch(m_file.Number());
        }
        return isUntouched;
    }
    const int file = m_output.Number();
    const bool isRestored = sys_holdsSame(file, m_copy.Number()) || PutBack(file, m_copy.Number(), m_status.Size());
    if (isRestored) {
        sys_touch(file);
    }
    return isRestored && FileStatus::Of(m_path).IsSameAs(FileStatus::Of(file));
}

bool SavedFile::Restore(const std::string& path, const std::string& copy) {
    const OpenedFile source = sys_openInput(copy, withoutWaiting, StrangersLinks::refused);
    if (!source.IsOpen()) {
        return FileStatus::Of(copy).GetPresence() == Presence::missing;
    }
    const auto isRestored = [&] {
        const OpenedFile now = sys_openInput(path, withoutWaiting);
        const bool holdsSame = now.IsOpen() && sys_holdsSame(now.Number(), source.Number());
        if (holdsSame) {
            sys_touch(now.Number());
        }
        return holdsSame;
    };
    if (isRestored()) {
        return true;
    }
    FileContent content;
    if (!source.status.IsRegular() || sys_readFile(source.Number(), UINT64_MAX, content) < 1 ||
        dsk_credir(nullptr, sys_directoryOf(path).c_str(), 0, nullptr) < 0) {
        return false;
    }
    const FileAccess access = sys_accessOf(source.Number(), source.status);
    holdSignals();
    return sys_writeFile(path, std::string(content.Text()), &access) == static_cast<long>(content.size) && isRestored();
}
