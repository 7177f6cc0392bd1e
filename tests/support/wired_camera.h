// A camera in software on a Linux interface, for the tests that must see into it.
#pragma once

#include "netif/PacketSocket.h"
#include "simcam/Camera.h"
#include "support/net_namespace.h"

#include <stdexcept>
#include <thread>

// Lives at the camera's end of a wire, in a network namespace of its own. Throws what is wrong.
class WiredCamera {
public:
    WiredCamera(
        const test_support::NetNamespace& space, const std::string& interface,
        const ethernet::Settings& settings) {
        const test_support::NetNamespace::Inside inside(space);
        std::string error;
        netif::PacketSocket::Options options;
        options.promiscuous = true;
        m_socket = netif::PacketSocket::create(interface, options, error);
        camera = m_socket ? simcam::Camera::make(settings, error) : nullptr;
        if (!camera) {
            throw std::runtime_error(error);
        }
        camera->plug(
            [this](const std::uint8_t* frame, std::size_t size) { m_socket->send(frame, size); },
            [this](const std::vector<simcam::PacketBatch::Parts>& frames) { m_socket->sendMany(frames); });
        m_reader = std::thread([this] {
            while (!m_stop) {
                const auto frame = m_socket->receive(netif::Clock::now() + std::chrono::seconds(60));
                frame.empty() ? void() : camera->receive(frame.data(), frame.size());
            }
        });
    }

    ~WiredCamera() {
        m_stop = true;
        m_socket->interrupt();
        m_reader.join();
        camera->plug({});
    }

    WiredCamera(const WiredCamera&) = delete;
    WiredCamera& operator=(const WiredCamera&) = delete;

    simcam::Camera* operator->() const { return camera.get(); }

private:
    std::unique_ptr<netif::PacketSocket> m_socket;
    std::unique_ptr<simcam::Camera> camera;
    std::atomic<bool> m_stop{false};
    std::thread m_reader;
};
