// A frame grabber in software with cameras in software on its ports, for one test.
#pragma once

#include "simcam/Camera.h"
#include "softboard/softboard.h"

#include <memory>
#include <stdexcept>
#include <string>

class Rig {
public:
    // Boards 0 to count - 1, with nothing on their ports. `boardKeys` goes into each board's section.
    explicit Rig(int count = 1, const std::string& boardKeys = {}) {
        std::string text;
        for (int board = 0; board < count; ++board) {
            text += "[board " + std::to_string(board) + "]\n" + boardKeys + "\n";
        }
        require(softboard::loadConfiguration(text, m_error));
    }

    // Throws what is wrong with the settings.
    std::shared_ptr<simcam::Camera> hang(int board, int port, const ethernet::Settings& settings = {}) {
        const std::shared_ptr<simcam::Camera> camera = simcam::Camera::make(settings, m_error);
        require(camera != nullptr);
        m_error = "the port takes no camera";
        require(softboard::attach(board, port, camera));
        return camera;
    }

private:
    void require(bool good) const {
        if (!good) {
            throw std::runtime_error(m_error);
        }
    }

    std::string m_error;
};
