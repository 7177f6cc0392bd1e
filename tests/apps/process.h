// Programs of the project as processes, and a raw client of the service; both wait with a generous deadline.
#pragma once

#include "liomol/gige.h"
#include "support/wait.h"
#include "support/write_file.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

namespace test {

inline constexpr int kDeadlineMs = 60000;

// What a program says of a status at the end of a line.
inline std::string fault(int code, const std::string& hint = {}) {
    return std::string(Gbe_getErrorDescription(code)) + " (" + std::to_string(code) + ")" + hint + "\n";
}

struct Outcome {
    int status = -1; // of the exit; -1 after a crash or when it never ended
    std::string out;
    std::string err;
};

// However this one ends.
inline void endWithThisProcess([[maybe_unused]] QProcess& process) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
#endif
}

// What a user has set must not count, and what programs keep goes to the test's own folder.
inline void useOwnEnvironment() {
    unsetenv("GBE_CAMERA");
    const QString folder = QDir::currentPath() + "/cache";
    QDir().mkpath(folder);
    setenv("XDG_CACHE_HOME", folder.toLocal8Bit().constData(), 1);
}

class Program {
public:
    Program(const char* file, const QStringList& arguments) {
        useOwnEnvironment();
        endWithThisProcess(m_process);
        m_process.start(file, arguments);
    }
    ~Program() { m_process.kill(), m_process.waitForFinished(); }

    bool running() { return m_process.waitForStarted(kDeadlineMs) && !m_process.waitForFinished(0); }
    void signal(int number) { kill(static_cast<pid_t>(m_process.processId()), number); }
    // Waits until it has printed a text on standard output; what it printed before is gone then.
    bool prints(const std::string& text) {
        return printsLike(QRegularExpression::escape(QString::fromStdString(text)));
    }
    bool printsLike(const QString& pattern) {
        const QRegularExpression wanted(pattern);
        QString seen;
        return eventually([&] {
            m_process.waitForReadyRead(0);
            seen += QString::fromUtf8(m_process.readAllStandardOutput());
            return seen.contains(wanted);
        });
    }
    Outcome wait(int deadlineMs = kDeadlineMs) {
        Outcome outcome;
        if (m_process.state() == QProcess::NotRunning || m_process.waitForFinished(deadlineMs)) {
            outcome.status = m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
        }
        outcome.out = m_process.readAllStandardOutput().toStdString();
        outcome.err = m_process.readAllStandardError().toStdString();
        return outcome;
    }
    static Outcome run(const char* file, const QStringList& arguments) {
        return Program(file, arguments).wait();
    }

private:
    QProcess m_process;
};

// A file that an environment variable names, for programs started while it lives.
class EnvironmentFile {
public:
    EnvironmentFile(const char* variable, const std::string& text) : m_variable(variable) {
        writeFile(kName, text);
        setenv(variable, kName, 1);
    }
    ~EnvironmentFile() {
        unsetenv(m_variable);
        QFile::remove(kName);
    }
    EnvironmentFile(const EnvironmentFile&) = delete;
    EnvironmentFile& operator=(const EnvironmentFile&) = delete;

private:
    static constexpr const char* kName = "file-of-the-environment";
    const char* m_variable;
};

#ifdef GBE_SERVICE // for tests of the service

// A connection to the service; every receive fails after the deadline.
class RawClient {
public:
    RawClient() : m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s", LIOMOL_SERVICE_SOCKET);
        const timeval limit{kDeadlineMs / 1000, 0};
        setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        m_connected = connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~RawClient() { close(m_fd); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool connected() const { return m_connected; }
    int fd() const { return m_fd; }
    bool send(const std::string& bytes) {
        return ::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // One line with its end; shorter at the end of the stream.
    std::string line() {
        std::string text;
        for (char byte = 0; text.empty() || text.back() != '\n'; text += byte) {
            if (recv(m_fd, &byte, 1, 0) != 1) {
                break;
            }
        }
        return text;
    }
    // All lines of a reply.
    std::string reply() {
        std::string lines;
        std::string last;
        do {
            last = line();
            lines += last;
        } while (last.size() > 4 && last[3] == '-');
        return lines;
    }
    std::string ask(const std::string& request) { return send(request + "\n") ? reply() : "not sent"; }

private:
    int m_fd;
    bool m_connected = false;
};

inline bool serviceAnswers() {
    RawClient client;
    return client.connected() && client.ask("hello") == "510 unknown request\n";
}

// The service of the build, started in the working directory; ended by the destructor.
class ServiceProcess {
public:
    explicit ServiceProcess(const QStringList& arguments = {})
        : m_program(GBE_SERVICE, QStringList{"--state", "state"} + arguments) {}

    bool answers() { return eventually(serviceAnswers); }
    Program& program() { return m_program; }
    Outcome stop(int signal = SIGTERM) {
        m_program.signal(signal);
        return m_program.wait();
    }

private:
    Program m_program;
};

// One service for all tests of a suite.
class WithService : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_service = std::make_unique<ServiceProcess>();
        ASSERT_TRUE(s_service->answers());
    }
    static void TearDownTestSuite() {
        EXPECT_EQ(s_service->stop().status, 0);
        s_service.reset();
    }

    static inline std::unique_ptr<ServiceProcess> s_service;
};

#endif

} // namespace test
