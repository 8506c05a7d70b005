#pragma once
// Base64 of RFC 4648 with padding and without line breaks: pictures embedded
// in SVG files as data addresses travel this way.

#include "foundation/array.h"
#include "foundation/string.h"

// Appends the encoding of `size` bytes to `out`.
void LBase64Encode(const unsigned char* data, unsigned long size, LStringLongTemplate<char>& out);

// Decodes `size` characters into `out` (emptied first). Blanks and line
// breaks are skipped; padding may be left out. False on any other character
// outside the alphabet, or on a length no encoding has.
bool LBase64Decode(const char* text, unsigned long size, LSizedArray<unsigned char>& out);
