#include "Mis/Unix/TextInput.h"

#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/FileStatus.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::size_t smallestRoom = 65536;

} // namespace

int sys_readToEnd(const std::string& name, std::size_t limit, std::string& text) {
    const bool isInput = name == "-";
    const Descriptor opened(isInput ? -1 : open(name.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
    if (!isInput && !opened.IsOpen()) {
        return errno;
    }
    const int file = isInput ? STDIN_FILENO : opened.Number();
    // Room for one byte more than the file has: the call that finds none there shows that it has ended.
    const off_t expected = std::min(FileStatus::Of(file).Size(), static_cast<off_t>(limit));
    text.resize(static_cast<std::size_t>(expected) + 1);
    std::size_t filled = 0;
    ssize_t count = 1;
    while (count != 0 && filled <= limit) {
        if (filled == text.size()) {
            text.resize(std::min(2 * filled + smallestRoom, limit + 1));
        }
        count = read(file, text.data() + filled, text.size() - filled);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        filled += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    text.resize(filled);
    return filled > limit ? EFBIG : 0;
}
