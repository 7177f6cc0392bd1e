// The main function of every test program: a Qt application object, and a temporary folder as the working
// directory, so that tests may write files and make sockets under relative names and never meet each other.
#include <gmock/gmock.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    const QTemporaryDir folder;
    if (!folder.isValid() || !QDir::setCurrent(folder.path())) {
        std::fprintf(stderr, "no temporary folder: %s\n", qPrintable(folder.errorString()));
        return 1;
    }
    const int result = RUN_ALL_TESTS();
    QDir::setCurrent(QDir::rootPath());
    return result;
}
