// An image as an object of JSON: all that is known of it but its pixels.
#pragma once

#include "liomol/images.h"

#include <QtCore/QJsonObject>

namespace gbe {

QJsonObject imageJson(const GbeImage& image);

} // namespace gbe
