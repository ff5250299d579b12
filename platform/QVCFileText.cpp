#include "platform/QVCFileText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw QVCFileText::Unreadable("\"" + path + "\" " + why);
}

[[noreturn]] void refuseWithErrno(const std::string& path, const std::string& what, int error) {
    if (error == ENOENT || error == ENOTDIR) {
        refuse(path, "does not exist");
    }
    refuse(path, what + " (" + std::strerror(error) + ")");
}

/// Refuses anything but a regular file, without opening it: opening a pipe
/// for reading would wait for a writer.
void checkRegular(const std::string& path, const struct stat& status) {
    if (S_ISDIR(status.st_mode)) {
        refuse(path, "is a directory, not a file");
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(path, "is not a regular file");
    }
}

/// Closes the descriptor when the read ends, however it ends.
struct Descriptor {
    int fd;
    ~Descriptor() { ::close(fd); }
};

}  // namespace

std::string QVCFileText::read(const std::string& path) {
    if (path.empty()) {
        refuse(path, "is not a file name");
    }
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        refuseWithErrno(path, "cannot be examined", errno);
    }
    checkRegular(path, status);
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        refuseWithErrno(path, "cannot be opened", errno);
    }
    const Descriptor descriptor{fd};
    if (::fstat(fd, &status) != 0) {
        refuseWithErrno(path, "cannot be examined", errno);
    }
    checkRegular(path, status);  // it may have been replaced since it was examined
    std::string text;
    try {
        text.reserve(static_cast<std::size_t>(status.st_size));
        char buffer[65536];
        while (true) {
            const ssize_t count = ::read(fd, buffer, sizeof buffer);
            if (count == 0) {
                return text;
            }
            if (count < 0) {
                if (errno == EINTR) {
                    continue;
                }
                refuseWithErrno(path, "could not be read", errno);
            }
            text.append(buffer, static_cast<std::size_t>(count));
        }
    } catch (const std::bad_alloc&) {
        refuse(path, "is too large to be read into memory");
    } catch (const std::length_error&) {
        refuse(path, "is too large to be read into memory");
    }
}
