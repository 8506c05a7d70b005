#pragma once
// Small value types the render target speaks in.

// Which brush paints a freehand path; values come from files, so any int is
// representable.
enum KVBrushType : int {
    KVBrushRoundPen = 0,
    KVBrushCalligraphy = 1,
    KVBrushCalligraphyReverse = 2,
    KVBrushSpray = 3,
    KVBrushCrayon = 4,
    KVBrushCrayonSmear = 5,
    KVBrushCrayonSplotch = 6,
    KVBrushPencil = 7,
    KVBrushMarker = 8,
    KVBrushPaintbrush = 9,
};

// 0 to 3 are stroke caps; 4 to 7 are shapes drawn at the line's ends.
enum KVLineCapStyle : int {
    KVLineCapFlat = 0,
    KVLineCapDefault = 1,
    KVLineCapRound = 2,
    KVLineCapAsFlat = 3,
    KVLineCapDiamond = 4,
    KVLineCapCircle = 5,
    KVLineCapSquare = 6,
    KVLineCapSquare45 = 7,
};
