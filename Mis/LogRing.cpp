// The files of a numbered log, and the choice among them.

#include "Mis/Log.h"

#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/SysClientUnix.h"
#include "classlib/File.h"
#include "classlib/FilenameHelper.h"

#include <algorithm>
#include <cassert>
#include <ctime>
#include <vector>

namespace {

logfilelist Candidate(const std::string& dir, const std::string& name, int index) {
    logfilelist file = {};
    file.path = txccl::FilenameHelper::join(dir, name) + "-" + std::to_string(index + 1) + ".XLOG";
    file.index = index;
    file.exists = txccl::File::exists(file.path);
    const FileStatus status = FileStatus::Of(file.path);
    file.size = status.Size();
    file.modified = status.Modified();
    return file;
}

/// The position of the existing file that was written last, or of the first existing one if no time is above zero;
/// files.size() when none exists.
std::size_t Newest(const std::vector<logfilelist>& files) {
    std::size_t newest = files.size();
    long long latest = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (files[i].exists && (newest == files.size() || files[i].modified > latest)) {
            newest = i;
            latest = files[i].modified > 0 ? files[i].modified : 0;
        }
    }
    return newest;
}

/// The position of the file that was written first, if that was before `now`, else `fallback`.
std::size_t Oldest(const std::vector<logfilelist>& files, long long now, std::size_t fallback) {
    std::size_t oldest = fallback;
    long long earliest = now;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (files[i].modified < earliest) {
            oldest = i;
            earliest = files[i].modified;
        }
    }
    return oldest;
}

/// Returns: the position in `files` of the one to write next, with `recycle` set when that must be deleted first. The
/// newest file is used until it is above `limit` bytes. Then comes the first missing one behind it, around the ring.
/// When none is missing, it is the oldest, or the newest again if none is older than `now`. REQUIRES: `files` has one.
std::size_t Choose(const std::vector<logfilelist>& files, long long limit, long long now, bool& recycle) {
    assert(!files.empty());
    recycle = false;
    const std::size_t newest = Newest(files);
    if (newest == files.size()) {
        return 0;
    }
    if (files[newest].size <= limit) {
        return newest;
    }
    for (std::size_t step = 1; step < files.size(); ++step) {
        const std::size_t next = (newest + step) % files.size();
        if (!files[next].exists) {
            return next;
        }
    }
    recycle = true;
    return Oldest(files, now, newest);
}

} // namespace

std::string batutil_GetNextFilename(std::string dir, std::string name) {
    const long long now = std::time(nullptr);
    const int count = std::max(nLogFiles, 1);
    std::vector<logfilelist> files;
    files.reserve(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index) {
        files.push_back(Candidate(dir, name, index));
    }
    bool recycle = false;
    const logfilelist& chosen = files[Choose(files, maxLogFileSize, now, recycle)];
    if (recycle) {
        sys_remove(chosen.path.c_str());
    }
    currLogFileNo = chosen.index;
    return chosen.path;
}
