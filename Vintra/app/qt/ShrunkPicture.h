#pragma once

#include <QImage>
#include <QSize>

namespace vintra {

class CVPixelBuffer;

/// A camera's picture at the most in that size, its shape kept; never larger than it is. Null if its pixels can't be
/// read. Each pixel is the mean of a few of the camera's, so that the work follows the size of the result. Any thread.
QImage shrunkPicture(const CVPixelBuffer& picture, QSize within);

} // namespace vintra
