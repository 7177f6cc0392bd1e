// The exceptions of the library: two unrelated roots, each with a message and a status code of util/status.h.
//
// An exception that reaches an exported call becomes that call's result; its message is for code inside the
// library. GenICamException is not a CoreException: a handler for one never catches the other.
#pragma once

#include "liomol/export.h"

#include <QtCore/QString>

#include <exception>
#include <string>

// <cerrno> makes `errno` a macro, so the code is called `code` here and keeps its getter's name.
namespace tavo {

class LIOMOL_API CoreException : public std::exception {
public:
    CoreException(const std::string& message, int code);
    CoreException(const CoreException&) = default;
    CoreException& operator=(const CoreException&) = default;
    ~CoreException() override;

    const char* what() const noexcept override;
    virtual int getErrno() const;

private:
    std::string m_message;
    int m_errno;
};

// A fault in a formula; the message names it. The code is always that of a math error.
class LIOMOL_API ScMathException : public CoreException {
public:
    explicit ScMathException(const std::string& message);
};

class LIOMOL_API GenICamException : public std::exception {
public:
    GenICamException(const std::string& message, int code);
    GenICamException(const GenICamException&) = default;
    GenICamException& operator=(const GenICamException&) = default;
    ~GenICamException() override;

    const char* what() const noexcept override;
    virtual int getErrno() const;

private:
    std::string m_message;
    int m_errno;
};

class LIOMOL_API GicNotImplementedException : public GenICamException {
public:
    GicNotImplementedException();
};

class LIOMOL_API GicNotAvailableException : public GenICamException {
public:
    GicNotAvailableException();
};

class LIOMOL_API GicLockedException : public GenICamException {
public:
    GicLockedException();
};

class LIOMOL_API GicNotReadableException : public GenICamException {
public:
    GicNotReadableException();
};

class LIOMOL_API GicNotWritableException : public GenICamException {
public:
    GicNotWritableException();
};

class LIOMOL_API GicIllegalValueException : public GenICamException {
public:
    GicIllegalValueException();
};

class LIOMOL_API GicIllegalNodeException : public GenICamException {
public:
    GicIllegalNodeException();
};

class LIOMOL_API GicIllegalRegisterLengthException : public GenICamException {
public:
    GicIllegalRegisterLengthException();
};

class LIOMOL_API GicPortNotAvailableException : public GenICamException {
public:
    GicPortNotAvailableException();
};

class LIOMOL_API GicTransportLayerException : public GenICamException {
public:
    GicTransportLayerException();
};

class LIOMOL_API GicConnectionException : public GenICamException {
public:
    GicConnectionException();
};

class LIOMOL_API GicTavoPathNotSetException : public GenICamException {
public:
    GicTavoPathNotSetException();
};

// The message is "File does not exist: " and the file's name in Latin-1.
class LIOMOL_API GicFileDoesNotExistException : public GenICamException {
public:
    explicit GicFileDoesNotExistException(const QString& fileName);

    const QString& fileName() const { return m_fileName; }

private:
    QString m_fileName;
};

} // namespace tavo
