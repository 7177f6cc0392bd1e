#include "board/description_file.h"

#include "genicam/description/limits.h"
#include "liomol/exceptions.h"
#include "util/error_detail.h"

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
        util::fail<tavo::GicTavoPathNotSetException>([&] {
            return "the description is the file genicam/" + name +
                   " below the folder that TAVODIR5 names, and that is not set";
        });
    }
    const QString directory = QFile::decodeName(installation) + QLatin1String("/genicam");
    const QFileInfo file(directory + QLatin1Char('/') + QFile::decodeName(name.c_str()));
    const char* const fault = !file.isFile()                 ? " does not exist"
                              : !staysBelow(file, directory) ? " leads out of its folder"
                              : file.size() > qint64{genicam::kMaxDescriptionSize} ? " has more than 64 MiB"
                                                                                   : nullptr;
    if (fault != nullptr) {
        const tavo::GicFileDoesNotExistException failure(file.absoluteFilePath());
        util::setErrorDetail(QFile::encodeName(file.absoluteFilePath()).toStdString() + fault);
        throw tavo::GicFileDoesNotExistException(failure);
    }
    return file.absoluteFilePath();
}

} // namespace board
