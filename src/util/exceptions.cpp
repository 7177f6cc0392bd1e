#include "liomol/exceptions.h"

#include "util/error_detail.h"
#include "util/status.h"

namespace tavo {

// What a thread knows of an earlier failure is not of this one.
CoreException::CoreException(const std::string& message, int code) : m_message(message), m_errno(code) {
    util::setErrorDetail({});
}

CoreException::~CoreException() = default;

const char* CoreException::what() const noexcept {
    return m_message.c_str();
}

int CoreException::getErrno() const {
    return m_errno;
}

ScMathException::ScMathException(const std::string& message) : CoreException(message, status::MathError) {}

GenICamException::GenICamException(const std::string& message, int code) : m_message(message), m_errno(code) {
    util::setErrorDetail({});
}

GenICamException::~GenICamException() = default;

const char* GenICamException::what() const noexcept {
    return m_message.c_str();
}

int GenICamException::getErrno() const {
    return m_errno;
}

#define LIOMOL_DEFINE_EXCEPTION(name, code, text)                                                            \
    name::name() : GenICamException(text, status::code) {}
LIOMOL_DEFINE_EXCEPTION(GicNotImplementedException, NotImplemented, "not implemented")
LIOMOL_DEFINE_EXCEPTION(GicNotAvailableException, NotAvailable, "not available")
LIOMOL_DEFINE_EXCEPTION(GicLockedException, Locked, "locked")
LIOMOL_DEFINE_EXCEPTION(GicNotReadableException, NotReadable, "not readable")
LIOMOL_DEFINE_EXCEPTION(GicNotWritableException, NotWritable, "not writable")
LIOMOL_DEFINE_EXCEPTION(GicIllegalValueException, IllegalValue, "illegal value")
LIOMOL_DEFINE_EXCEPTION(GicIllegalNodeException, IllegalNode, "illegal node")
LIOMOL_DEFINE_EXCEPTION(GicIllegalRegisterLengthException, IllegalRegisterLength, "illegal register length")
LIOMOL_DEFINE_EXCEPTION(GicPortNotAvailableException, PortNotAvailable, "Selected Port is already in use!")
LIOMOL_DEFINE_EXCEPTION(GicTransportLayerException, TransportLayer, "transport layer exception")
LIOMOL_DEFINE_EXCEPTION(GicConnectionException, Connection, "Error while connecting to camera!")
LIOMOL_DEFINE_EXCEPTION(
    GicTavoPathNotSetException, EnvironmentNotSet, "Environment Variable 'TAVODIR5' not set")
#undef LIOMOL_DEFINE_EXCEPTION

GicFileDoesNotExistException::GicFileDoesNotExistException(const QString& fileName)
    : GenICamException("File does not exist: " + fileName.toLatin1().toStdString(), status::FileDoesNotExist),
      m_fileName(fileName) {}

} // namespace tavo
