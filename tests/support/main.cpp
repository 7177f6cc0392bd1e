// The main function of every test program: a Qt application object, and a temporary folder as the working
// directory, so that tests may write files and make sockets under relative names and never meet each other.
#include <gmock/gmock.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <unistd.h>

namespace {

// Goes at the end of its own process, also where exit() ends that inside a test.
struct Folder : QTemporaryDir {
    ~Folder() { setAutoRemove(getpid() == owner); }
    const pid_t owner = getpid();
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    static const Folder folder;
    if (!folder.isValid() || !QDir::setCurrent(folder.path())) {
        std::fprintf(stderr, "no temporary folder: %s\n", qPrintable(folder.errorString()));
        return 1;
    }
    return RUN_ALL_TESTS();
}
