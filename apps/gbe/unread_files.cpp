#include "unread_files.h"

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

namespace gbe {
namespace {

namespace fs = std::filesystem;

const fs::path kFiles[] = {LIOMOL_CONFIG_DIR "/gbe-service.conf", LIOMOL_BOARD_FILE};

// Where an administrator may well expect them: a prefix has an "etc" of its own, and this program lies in
// one.
std::set<fs::path> likelyFolders() {
    std::set<fs::path> folders{"/etc/liomol", "/usr/etc/liomol", "/usr/local/etc/liomol"};
    std::error_code none;
    const fs::path program = fs::read_symlink("/proc/self/exe", none);
    if (!program.empty()) {
        folders.insert(program.parent_path().parent_path() / "etc/liomol");
    }
    return folders;
}

std::string mending(const fs::path& unread, const fs::path& read) {
    std::error_code none;
    if (fs::exists(read, none)) {
        return "take what is missing over into " + read.string() + ", and remove the other";
    }
    return "sudo mkdir -p " + read.parent_path().string() + " && sudo mv " + unread.string() + " " +
           read.string() + " && sudo systemctl restart gbe-service";
}

} // namespace

void checkUnreadFiles(Findings& findings) {
    std::error_code none;
    for (const fs::path& read : kFiles) {
        for (const fs::path& folder : likelyFolders()) {
            const fs::path unread = folder / read.filename();
            if (unread != read && fs::exists(unread, none) && !fs::equivalent(unread, read, none)) {
                findings.bad(
                    "config", unread.string() + " is read by nobody: what counts is " + read.string(),
                    mending(unread, read));
            }
        }
    }
    const char* named = std::getenv("LIOMOL_SOFTBOARD");
    if (named != nullptr && fs::exists(LIOMOL_BOARD_FILE, none) &&
        !fs::equivalent(named, LIOMOL_BOARD_FILE, none)) {
        findings.note(
            "config", LIOMOL_BOARD_FILE " is not read: LIOMOL_SOFTBOARD names " + std::string(named));
    }
}

} // namespace gbe
