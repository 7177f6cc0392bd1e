// Why no image arrives: what camera and computer tell of it.
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "liomol/interfaces.h"
#include "liomol/node_kinds.h"
#include "streaming/ImageStream.h"
#include "streaming/PacketSizeSearch.h"
#include "streaming/stream_channel.h"

#include <array>
#include <optional>

namespace streaming {
namespace {

// The states that "AcquisitionStatus" tells, one at a time. The selector is left as it was found.
class AcquisitionStates {
public:
    explicit AcquisitionStates(const tavo::NodeTree& tree) {
        tavo::GenICamNode* const selector = tree.findNode("AcquisitionStatusSelector");
        tavo::GenICamNode* const state = tree.findNode("AcquisitionStatus");
        m_selector = selector != nullptr ? selector->asEnumeration() : nullptr;
        m_state = state != nullptr ? state->asBoolean() : nullptr;
        if (isKnown()) {
            m_before = m_selector->getIntValue();
        }
    }
    ~AcquisitionStates() {
        if (isKnown()) {
            try {
                m_selector->setIntValue(m_before);
            } catch (const tavo::GenICamException&) { // the camera has gone meanwhile
                return;
            }
        }
    }
    AcquisitionStates(const AcquisitionStates&) = delete;
    AcquisitionStates& operator=(const AcquisitionStates&) = delete;

    bool isKnown() const { return m_selector != nullptr && m_state != nullptr; }
    // Nothing for a state that the camera does not know.
    std::optional<bool> of(const char* state) const {
        for (const tavo::GenICamEnumEntry* entry : m_selector->getEntries()) {
            if (entry->getSymbol() == state) {
                m_selector->setStringValue(state);
                return m_state->getValue();
            }
        }
        return std::nullopt;
    }

private:
    tavo::GenICamEnumerationInterface* m_selector = nullptr;
    tavo::GenICamBooleanInterface* m_state = nullptr;
    std::int64_t m_before = 0;
};

std::string textOf(const tavo::NodeTree& tree, const char* name) {
    tavo::GenICamNode* const node = tree.findNode(name);
    auto* const enumeration = node != nullptr ? node->asEnumeration() : nullptr;
    return enumeration != nullptr ? enumeration->getStringValue() : std::string();
}

std::string findAcquisitionTrouble(const board::Device& device) {
    const auto tree = device.holdTree();
    const AcquisitionStates states(*tree);
    if (!states.isKnown()) {
        return textOf(*tree, "TriggerMode") == "On" ? "The camera is set to wait for a trigger (TriggerMode)."
                                                    : "";
    }
    if (states.of("FrameTriggerWait").value_or(false)) {
        return "The camera waits for a trigger before each frame.";
    }
    if (states.of("AcquisitionTriggerWait").value_or(false)) {
        return "The camera waits for a trigger before it begins.";
    }
    return states.of("AcquisitionActive").value_or(true) ? "" : "The camera is not acquiring.";
}

std::string findDestinationTrouble(const CameraRegisters& registers, const Destination& own) {
    const std::optional<Destination> set = readDestination(registers);
    if (!set || *set == own) {
        return "";
    }
    if (set->udpPort == 0) {
        return "The camera's stream channel is closed.";
    }
    return "The camera sends its images to " + set->ip.text() + ", port " + std::to_string(set->udpPort) +
           ", instead of " + own.ip.text() + ", port " + std::to_string(own.udpPort) + ".";
}

constexpr std::array<const char*, 5> kLosses{
    "", "Control of the camera is lost: it does not answer.",
    "Control of the camera is lost: it did not hear this computer.",
    "Control of the camera is lost: another application has taken it.",
    "Control of the camera is lost: it has restarted."};

std::string lossText(const board::Device& device) {
    return kLosses.at(static_cast<std::size_t>(device.getControlLoss()));
}

} // namespace

// Of a stream that has failed the camera is not asked any more.
std::string ImageStream::findTrouble() {
    const std::shared_ptr<board::Device> camera = device();
    if (camera == nullptr) {
        return "The camera is not connected.";
    }
    std::string trouble = lossText(*camera);
    if (trouble.empty() && (m_linkGone || reason() != status::Success)) {
        trouble = "The link to the camera is gone.";
    }
    return trouble.empty() ? askForTrouble(*camera) : trouble;
}

std::string ImageStream::askForTrouble(board::Device& camera) {
    const CameraRegisters registers(m_place, camera);
    const std::uint64_t bytes =
        pathStatistics().bytes; // of pixels: leaders are small, and pass where those do not
    std::string trouble =
        findDestinationTrouble(registers, {net::Ipv4::at(m_settings.hostIp), m_settings.udpPort});
    if (trouble.empty()) {
        trouble = findAcquisitionTrouble(camera);
    }
    if (trouble.empty() && pathStatistics().bytes == bytes) {
        trouble = findPacketTrouble(registers);
    }
    return trouble;
}

// By test packets: of the size that is set, and of one that every path carries.
std::string ImageStream::findPacketTrouble(const CameraRegisters& registers) {
    const auto look = [this] { return testPackets(); };
    const unsigned size = readPacketSize(registers);
    const std::optional<bool> arrives = testPacketArrives(registers, size, look);
    if (arrives.value_or(true)) {
        return "";
    }
    constexpr unsigned kSmall = PacketSizeSearch::kLeast;
    const std::optional<bool> smallArrives = testPacketArrives(registers, kSmall, look);
    writePacketSize(registers, size);
    if (smallArrives.value_or(false)) {
        return "Packets of " + std::to_string(size) + " bytes do not arrive, such of " +
               std::to_string(kSmall) + " bytes do: the path does not carry what the camera sends.";
    }
    return "No packet of the camera's stream arrives, not even a test packet.";
}

} // namespace streaming
