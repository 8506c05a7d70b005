#pragma once
// Our pictures as Qt's: the working format (premultiplied BGRA) is Qt's
// premultiplied ARGB on a little-endian machine.

#include <QImage>

class LImageBuffer;

// A copy of the picture; null for an invalid one.
QImage LToQImage(const LImageBuffer& picture);
// The picture's own pixels, no copy: valid while the buffer lives
// unchanged in size. Null unless the buffer is format 0, top-down.
QImage LToQImageView(const LImageBuffer& picture);
