// The abstract faces of a device.
#pragma once

#include "liomol/export.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

class GenICamCameraSignals;
class GenICamNode;
class GenICamPortInterface;

// What the root element of a description says of the camera.
struct DeviceHeader {
    std::string modelName;
    std::string vendorName;
    std::string toolTip;
    std::string standardNamespace;
    std::string productGuid;
    std::string versionGuid;
    std::int64_t majorVersion = 0;
    std::int64_t minorVersion = 0;
    std::int64_t subMinorVersion = 0;
    std::int64_t schemaMajorVersion = 0;
    std::int64_t schemaMinorVersion = 0;
    std::int64_t schemaSubMinorVersion = 0;
};

// Why control of a camera is lost, if it is.
enum class ControlLoss {
    None = 0,
    Silent = 1,          // the camera did not answer for as long as it keeps control for a silent host
    HeartbeatMissed = 2, // the camera has dropped control because it did not hear this host
    TakenOver = 3,       // another application has control
    Rebooted = 4,        // the camera has restarted
};

// A camera as its description shows it. All calls may come from any thread.
class LIOMOL_API GenICamCamera {
public:
    virtual const std::string& getModelName() const = 0;
    virtual const std::string& getVendorName() const = 0;
    virtual const std::string& getToolTip() const = 0;
    virtual const std::string& getStandardNamespace() const = 0;
    virtual const std::string& getProductGuid() const = 0;
    virtual const std::string& getVersionGuid() const = 0;
    virtual std::int64_t getMajorVersion() const = 0;
    virtual std::int64_t getMinorVersion() const = 0;
    virtual std::int64_t getSubMinorVersion() const = 0;
    virtual std::int64_t getSchemaMajorVersion() const = 0;
    virtual std::int64_t getSchemaMinorVersion() const = 0;
    virtual std::int64_t getSchemaSubMinorVersion() const = 0;

    // The node of exactly that name, or null.
    virtual GenICamNode* getNodeByName(std::string_view name) const = 0;
    // All nodes that have a name, in ascending order of the names.
    virtual std::vector<GenICamNode*> getNodes() const = 0;
    // Makes everything cached stale, in all nodes.
    virtual void invalidateAllNodes() = 0;

    // Whether accesses are checked (see liomol/interfaces.h); off at first.
    virtual void enableChecking(bool on) = 0;
    virtual bool isCheckingEnabled() const = 0;

    // The device's own signals (liomol/signals.h), which live as long as the device. They come whether
    // signalling is on or not.
    virtual GenICamCameraSignals* getCameraSignals() = 0;
    // Whether changes are reported through the signals of the nodes. Off at first; what changes meanwhile is
    // reported when it is switched on. The thread runs once a description has been retrieved.
    virtual void enableSignalling(bool on) = 0;
    virtual bool isSignallingEnabled() const = 0;
    // Whether command nodes are looked at from time to time, so that a command that has become done is
    // reported. Off at first. The thread runs once a description has been retrieved.
    virtual void enablePolling(bool on) = 0;
    virtual bool isPollingEnabled() const = 0;
    // Milliseconds between two looks, 1000 at first; takes effect within the running twentieth of it, which
    // is 1 millisecond at least and a year at most.
    virtual void setPollingSleepTime(long long milliseconds) = 0;
    virtual long long getPollingSleepTime() const = 0;

    virtual ~GenICamCamera();
};

// Where a camera hangs. The board layer gives the two numbers their meaning: board and port.
struct CameraConnection {
    int board = -1;
    int port = -1;

    bool operator==(const CameraConnection&) const = default;
};

// A camera as the frame grabber knows it: by the places through which it can be reached.
class LIOMOL_API VoCamera {
public:
    virtual void addCameraConnection(int board, int port) = 0;
    virtual std::vector<CameraConnection> getConnectionList() const = 0;
    virtual CameraConnection getCurrentCameraConnection() const = 0;
    virtual bool isConnected() const = 0;
    virtual bool getConnectionChangeStatus() const = 0;
    virtual void setConnection(CameraConnection connection, unsigned ip) = 0;

    virtual ~VoCamera();
};

} // namespace tavo
