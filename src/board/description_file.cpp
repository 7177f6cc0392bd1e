#include "board/description_file.h"

#include "genicam/description/limits.h"
#include "liomol/exceptions.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdlib>

namespace board {
namespace {

// The name comes from the camera: it must not choose any file of the host.
bool staysBelow(const QFileInfo& file, const QString& directory) {
    const QString real = QFileInfo(directory).canonicalFilePath();
    return !real.isEmpty() && file.canonicalFilePath().startsWith(real + QLatin1Char('/'));
}

} // namespace

QString findDescriptionFile(const std::string& name) {
    const char* installation = std::getenv("TAVODIR5");
    if (installation == nullptr) {
        throw tavo::GicTavoPathNotSetException();
    }
    const QString directory = QFile::decodeName(installation) + QLatin1String("/genicam");
    const QFileInfo file(directory + QLatin1Char('/') + QFile::decodeName(name.c_str()));
    if (!file.isFile() || !staysBelow(file, directory) ||
        file.size() > qint64{genicam::kMaxDescriptionSize}) {
        throw tavo::GicFileDoesNotExistException(file.absoluteFilePath());
    }
    return file.absoluteFilePath();
}

} // namespace board
