#include "Redirect.h"

#include "Failure.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace gbe {
namespace {

// Two descriptors lead into a file of memory, and back again.
class Redirect {
public:
    Redirect() : m_memory(memfd_create("output", MFD_CLOEXEC)) {
        if (m_memory < 0) {
            throw Failure(std::string("no memory for an output: ") + std::strerror(errno));
        }
        std::fflush(stdout);
        m_out = dup(STDOUT_FILENO);
        m_err = dup(STDERR_FILENO);
        dup2(m_memory, STDOUT_FILENO);
        dup2(m_memory, STDERR_FILENO);
    }
    ~Redirect() {
        end();
        close(m_memory);
    }
    Redirect(const Redirect&) = delete;
    Redirect& operator=(const Redirect&) = delete;

    std::string text() {
        end();
        std::string text;
        std::array<char, 4096> piece{};
        for (;;) {
            const ssize_t count =
                pread(m_memory, piece.data(), piece.size(), static_cast<off_t>(text.size()));
            if (count <= 0) {
                return text;
            }
            text.append(piece.data(), static_cast<std::size_t>(count));
        }
    }

private:
    void end() {
        if (m_out >= 0) {
            std::fflush(stdout);
            dup2(m_out, STDOUT_FILENO);
            dup2(m_err, STDERR_FILENO);
            close(m_out);
            close(m_err);
            m_out = -1;
        }
    }

    const int m_memory;
    int m_out = -1;
    int m_err = -1;
};

} // namespace

std::string outputOf(const std::function<void()>& work) {
    Redirect redirect;
    work();
    return redirect.text();
}

} // namespace gbe
