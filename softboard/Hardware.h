// The boards of this process: the configuration made real, and who has which board open.
#pragma once

#include "softboard/Board.h"
#include "softboard/configuration.h"
#include "softboard/softboard.h"

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// What an application holds of an open board.
struct TavoBoard {
    std::shared_ptr<softboard::Board> board;
    int number = 0;
};

namespace softboard {

// One for the process, never destroyed: whoever still has a handle while the process ends must find memory
// there. At exit only the threads stop and what hangs on the ports is let go.
class Hardware {
public:
    static Hardware& instance();

    // Null when there is no such board, or no usable configuration (which has been reported).
    TavoBoard* open(int number);

    // False for a handle that is not open.
    bool close(TavoBoard* handle);

    bool load(const std::string& text, const std::string& name, std::string& error);

    // The board of a number, whether open or not; null when there is none.
    std::shared_ptr<Board> find(int number);
    unsigned opens(int number);

    // The configuration of a board, made real or not; it stays unmade. False, and one line in `error`, when
    // there is none.
    bool configuration(int number, BoardConfiguration& board, std::string& error);
    // Null while the configuration has not been made real.
    std::shared_ptr<Board> made(int number);

private:
    using Boards = std::array<std::shared_ptr<Board>, kBoards>;

    Hardware() = default;
    bool ensureLoaded();
    static bool build(
        const std::string& text, const std::string& name, Configuration& configuration, Boards& boards,
        std::string& error);
    void shutDown();

    std::mutex m_mutex; // guards what follows
    bool m_loaded = false;
    bool m_down = false;
    std::string m_reported;        // the last complaint, said once
    Configuration m_configuration; // of m_boards
    Boards m_boards;
    std::array<unsigned, kBoards> m_opens{};
    std::vector<std::unique_ptr<TavoBoard>> m_handles;
};

} // namespace softboard
