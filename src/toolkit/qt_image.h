#pragma once
// Our pictures as Qt's: the working format (premultiplied BGRA) is Qt's
// premultiplied ARGB on a little-endian machine.

#include <QImage>

class LImageBuffer;

// A copy of the picture; null for an invalid one.
QImage LToQImage(const LImageBuffer& picture);
// The picture's pixels handed over to Qt, without a copy when they are in
// the working format: the buffer is left empty and its memory goes with the
// last copy of the image. Null for an invalid picture.
QImage LTakeQImage(LImageBuffer& picture);
// The picture's own pixels, no copy: valid while the buffer lives
// unchanged in size. Null unless the buffer is format 0, top-down.
QImage LToQImageView(const LImageBuffer& picture);
