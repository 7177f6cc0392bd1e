#include "softboard/Hardware.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace softboard {

Hardware& Hardware::instance() {
    static Hardware& hardware = *new Hardware; // reachable for ever
    static const struct AtExit {
        // A forked process has none of the threads that would have to end.
        ~AtExit() {
            if (::getpid() == process) {
                hardware.shutDown();
            }
        }
        const ::pid_t process = ::getpid();
    } atExit;
    return hardware;
}

bool Hardware::build(
    const std::string& text, const std::string& name, Configuration& configuration, Boards& boards,
    std::string& error) {
    if (!parseConfiguration(text, name, configuration, error)) {
        return false;
    }
    for (std::size_t i = 0; i < boards.size(); ++i) {
        if (configuration[i].present) {
            boards[i] = Board::create(configuration[i], error);
            if (!boards[i]) {
                return false;
            }
        }
    }
    return true;
}

bool Hardware::ensureLoaded() {
    if (m_loaded || m_down) {
        return m_loaded;
    }
    std::string text;
    std::string name;
    std::string error;
    Boards boards;
    Configuration configuration;
    if (!readConfiguration(text, name, error) || !build(text, name, configuration, boards, error)) {
        if (error != m_reported) {
            std::fprintf(stderr, "softboard: %s\n", error.c_str());
            m_reported = error;
        }
        return false;
    }
    m_boards = std::move(boards);
    m_configuration = std::move(configuration);
    m_loaded = true;
    return true;
}

bool Hardware::load(const std::string& text, const std::string& name, std::string& error) {
    Boards boards; // the earlier ones end here, after the lock
    const std::lock_guard lock(m_mutex);
    if (m_down || !m_handles.empty()) {
        error = name + ": a board is open";
        return false;
    }
    Configuration configuration;
    if (!build(text, name, configuration, boards, error)) {
        return false;
    }
    std::swap(m_boards, boards);
    m_configuration = std::move(configuration);
    m_loaded = true;
    return true;
}

TavoBoard* Hardware::open(int number) {
    const std::lock_guard lock(m_mutex);
    if (number < 0 || number >= kBoards || !ensureLoaded()) {
        return nullptr;
    }
    const auto index = static_cast<std::size_t>(number);
    if (!m_boards[index] || m_down) {
        return nullptr;
    }
    ++m_opens[index];
    return m_handles.emplace_back(std::make_unique<TavoBoard>(TavoBoard{m_boards[index], number})).get();
}

bool Hardware::close(TavoBoard* handle) {
    const std::lock_guard lock(m_mutex);
    const auto found = std::find_if(
        m_handles.begin(), m_handles.end(), [handle](const auto& own) { return own.get() == handle; });
    if (found == m_handles.end()) {
        return false;
    }
    const auto index = static_cast<std::size_t>(handle->number);
    if (--m_opens[index] == 0) {
        handle->board->release();
    }
    m_handles.erase(found);
    return true;
}

std::shared_ptr<Board> Hardware::find(int number) {
    const std::lock_guard lock(m_mutex);
    if (number < 0 || number >= kBoards || !ensureLoaded()) {
        return nullptr;
    }
    return m_boards[static_cast<std::size_t>(number)];
}

unsigned Hardware::opens(int number) {
    const std::lock_guard lock(m_mutex);
    return number >= 0 && number < kBoards ? m_opens[static_cast<std::size_t>(number)] : 0;
}

bool Hardware::configuration(int number, BoardConfiguration& board, std::string& error) {
    if (number < 0 || number >= kBoards) {
        error = "boards are 0 to 7";
        return false;
    }
    const auto index = static_cast<std::size_t>(number);
    {
        const std::lock_guard lock(m_mutex);
        if (m_loaded) {
            board = m_configuration[index];
            return true;
        }
    }
    std::string text;
    std::string name;
    Configuration all;
    if (!readConfiguration(text, name, error) || !parseConfiguration(text, name, all, error)) {
        return false;
    }
    board = std::move(all[index]);
    return true;
}

std::shared_ptr<Board> Hardware::made(int number) {
    const std::lock_guard lock(m_mutex);
    return number >= 0 && number < kBoards ? m_boards[static_cast<std::size_t>(number)] : nullptr;
}

void Hardware::shutDown() {
    Boards boards;
    {
        const std::lock_guard lock(m_mutex);
        m_down = true;
        boards = m_boards;
    }
    for (const auto& board : boards) {
        if (board) {
            board->release();
            board->shutDown();
        }
    }
}

} // namespace softboard
