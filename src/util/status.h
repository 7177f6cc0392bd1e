// The status codes of the library: one table for exceptions and for the C interface.
#pragma once

// clang-format off
#define LIOMOL_STATUS_TABLE(X) \
    X(Success,                     0, "success") \
    X(NotImplemented,         -40001, "feature not implemented") \
    X(NotAvailable,           -40002, "feature not available") \
    X(Locked,                 -40003, "feature locked") \
    X(NotReadable,            -40004, "feature not readable") \
    X(NotWritable,            -40005, "feature not writable") \
    X(IllegalValue,           -40006, "illegal value") \
    X(IllegalNode,            -40007, "illegal node") \
    X(IllegalRegisterLength,  -40008, "illegal register length") \
    X(MathError,              -40009, "math error") \
    X(PortNotAvailable,       -40010, "port not available") \
    X(TransportLayer,         -40011, "transport layer exception") \
    X(Connection,             -40012, "camera/service connection exception") \
    X(EnvironmentNotSet,      -40013, "environment not set") \
    X(FileDoesNotExist,       -40014, "file does not exist") \
    X(IllegalParameter,       -40015, "illegal parameter") \
    X(CameraNotConnected,     -40016, "camera not connected") \
    X(CameraAlreadyConnected, -40017, "camera already connected") \
    X(BoardInitialization,    -40018, "board initialization error") \
    X(BoardDoesNotExist,      -40019, "board does not exist") \
    X(XmlRead,                -40020, "xml read exception") \
    X(ServiceConnection,      -40021, "service connection error") \
    X(CameraBusy,             -40022, "camera busy") \
    X(NoCamerasFound,         -40023, "no cameras found") \
    X(CameraDoesNotExist,     -40024, "camera does not exist") \
    X(BufferTooSmall,         -40025, "buffer too small") \
    X(CameraNotUnique,        -41000, "selected camera is not unique (warning)")
// clang-format on

namespace status {

#define LIOMOL_STATUS_ENUM(name, code, text) inline constexpr int name = code;
LIOMOL_STATUS_TABLE(LIOMOL_STATUS_ENUM)
#undef LIOMOL_STATUS_ENUM

// The text of a code; "unknown error code" for a code that the table does not hold. Static, never null.
const char* description(int code);

} // namespace status
