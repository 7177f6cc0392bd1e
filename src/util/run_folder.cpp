#include "util/run_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace util {
namespace {

constexpr mode_t kOwnFolderMode = 0700;

std::string serviceFolder() {
    const std::string socket = LIOMOL_SERVICE_SOCKET;
    const std::size_t slash = socket.rfind('/');
    return (slash == std::string::npos ? "" : socket.substr(0, slash + 1)) + "locks";
}

// In builds for tests the socket lies below the working directory, whether a service runs there or not.
bool isPrivateBuild() {
    return LIOMOL_SERVICE_SOCKET[0] != '/';
}

// A folder that nobody else can have put here for us to fall into: no symbolic link, and of this user, or
// where `mayBeRoots` of the administrator.
RunFile openFolder(const std::string& path, bool mayBeRoots) {
    RunFile folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || fstat(folder.get(), &status) != 0) {
        return RunFile();
    }
    const bool own = status.st_uid == geteuid();
    return own || (mayBeRoots && status.st_uid == 0) ? std::move(folder) : RunFile();
}

RunFile openOwnFolder(const std::string& path) {
    mkdir(path.c_str(), kOwnFolderMode); // it may be there
    RunFile folder = openFolder(path, false);
    struct stat status {};
    constexpr mode_t kOthers = 0077;
    const bool closed = folder && fstat(folder.get(), &status) == 0 && (status.st_mode & kOthers) == 0;
    return closed ? std::move(folder) : RunFile();
}

} // namespace

RunFile openServiceFolder() {
    const std::string path = serviceFolder();
    if (isPrivateBuild()) {
        mkdir(path.c_str(), kOwnFolderMode); // it may be there
    }
    return openFolder(path, true);
}

RunFile openUserFolder() {
    const std::string user = std::to_string(geteuid());
    const std::string run = "/run/user/" + user;
    if (const RunFile base = openFolder(run, false)) {
        if (RunFile folder = openOwnFolder(run + "/liomol")) {
            return folder;
        }
    }
    return openOwnFolder("/tmp/liomol-" + user);
}

RunFile openPlain(const RunFile& folder, const std::string& name, int flags, mode_t mode) {
    RunFile file(openat(folder.get(), name.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, mode));
    struct stat status {};
    const bool plain =
        file && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
    return plain ? std::move(file) : RunFile();
}

} // namespace util
