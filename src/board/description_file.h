// Descriptions that are kept on the host, below the installation directory.
#pragma once

#include <QtCore/QString>

#include <string>

namespace board {

// The absolute path of "genicam/<name>" below the directory that the environment variable TAVODIR5 names.
// Throws tavo::GicTavoPathNotSetException when the variable is not set, and
// tavo::GicFileDoesNotExistException when there is no regular file of that name, it leaves the directory (by
// ".." or through a link), or it is larger than a description may be.
QString findDescriptionFile(const std::string& name);

} // namespace board
