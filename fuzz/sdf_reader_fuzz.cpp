// The chunk reader walking a whole project tree the way the project loader
// does: known ids read in the width they imply, known containers entered,
// everything else skipped. Any input must end in a clean walk or a clean
// failure. The walk over memory and the walk over the program's buffered file
// stream must see the same things.

#include <cstdint>
#include <cstring>

#include "fuzz_support.h"
#include "foundation/sdf.h"

namespace {

enum Kind : unsigned char { Int, Bool, Float, Double, Text, Name, Data, Sub };
enum Node : unsigned char {
    Root, Project, Image, Colour, Layer, Element, Bounds, Point, PointDouble, Shadow, Bevel, Glow,
    Gradient, Stops, Erasers, Stroke, StrokePath, Path, DrawPath, Points, PointsDouble, Segment,
    Vectors, SimplePath, Effects, Clip,
};
struct Row {
    Node parent;
    unsigned short id;
    Kind kind;
    Node child;
};

// Which id means what under which parent. The tree has no cycle, so the walk
// is as deep as the table, whatever the file says.
constexpr Row kTree[] = {
    {Root, 1, Sub, Project}, {Root, 2, Sub, Clip}, {Root, 21, Sub, Effects},
    {Project, 2, Sub, Image},
    {Image, 1000, Int, Root}, {Image, 1001, Int, Root}, {Image, 1002, Int, Root},
    {Image, 1003, Text, Root}, {Image, 2039, Int, Root}, {Image, 5, Sub, Colour},
    {Image, 3, Sub, Layer},
    {Colour, 1004, Int, Root}, {Colour, 1005, Int, Root}, {Colour, 1006, Int, Root},
    {Colour, 1007, Int, Root},
    {Layer, 2000, Bool, Root}, {Layer, 1003, Text, Root}, {Layer, 4, Sub, Element},
    {Clip, 4, Sub, Element},
    {Element, 2006, Name, Root}, {Element, 5, Sub, Colour}, {Element, 1008, Float, Root},
    {Element, 6, Sub, Bounds}, {Element, 1013, Float, Root}, {Element, 2012, Int, Root},
    {Element, 2020, Int, Root}, {Element, 19, Sub, Erasers}, {Element, 7, Sub, Colour},
    {Element, 8, Sub, Gradient}, {Element, 11, Sub, Shadow}, {Element, 15, Sub, Bevel},
    {Element, 17, Sub, Glow}, {Element, 18, Sub, Glow}, {Element, 2034, Int, Root},
    {Element, 2035, Int, Root}, {Element, 2036, Int, Root}, {Element, 9, Sub, Point},
    {Element, 2023, Sub, Path}, {Element, 2021, Int, Root}, {Element, 2037, Int, Root},
    {Element, 1012, Int, Root}, {Element, 1009, Int, Root}, {Element, 2016, Bool, Root},
    {Element, 2018, Bool, Root}, {Element, 2017, Bool, Root}, {Element, 2019, Int, Root},
    {Element, 2015, Text, Root}, {Element, 2025, Name, Root}, {Element, 2027, Int, Root},
    {Element, 2028, Float, Root}, {Element, 2029, Float, Root}, {Element, 2030, Float, Root},
    {Element, 2038, Sub, Segment}, {Element, 2022, Data, Root}, {Element, 1010, Int, Root},
    {Element, 1011, Int, Root}, {Element, 1000, Int, Root}, {Element, 1001, Int, Root},
    {Element, 2033, Bool, Root}, {Element, 2032, Int, Root}, {Element, 2031, Sub, Vectors},
    {Element, 13, Sub, Points},
    {Bounds, 2002, Float, Root}, {Bounds, 2003, Float, Root}, {Bounds, 2004, Float, Root},
    {Bounds, 2005, Float, Root},
    {Point, 1010, Float, Root}, {Point, 1011, Float, Root},
    {PointDouble, 1010, Double, Root}, {PointDouble, 1011, Double, Root},
    {Shadow, 2014, Int, Root}, {Shadow, 1010, Int, Root}, {Shadow, 1011, Int, Root},
    {Shadow, 1012, Int, Root},
    {Bevel, 2024, Int, Root},
    {Glow, 1014, Float, Root}, {Glow, 5, Sub, Colour},
    {Gradient, 2007, Bool, Root}, {Gradient, 2010, Int, Root}, {Gradient, 9, Sub, Point},
    {Gradient, 2008, Float, Root}, {Gradient, 2009, Float, Root}, {Gradient, 10, Sub, Stops},
    {Stops, 5, Sub, Colour}, {Stops, 2011, Float, Root},
    {Erasers, 20, Sub, Stroke},
    {Stroke, 1015, Data, Root}, {Stroke, 1008, Float, Root}, {Stroke, 1012, Int, Root},
    {Stroke, 5, Sub, Colour}, {Stroke, 12, Sub, StrokePath},
    {StrokePath, 1000, Int, Root}, {StrokePath, 1001, Int, Root}, {StrokePath, 9, Sub, Point},
    {Path, 2026, Float, Root}, {Path, 19, Sub, Erasers}, {Path, 12, Sub, DrawPath},
    {Path, 14, Sub, PointsDouble},
    {DrawPath, 1000, Int, Root}, {DrawPath, 1001, Int, Root}, {DrawPath, 16, Sub, Points},
    {DrawPath, 13, Sub, Points},
    {Points, 9, Sub, Point},
    {PointsDouble, 9, Sub, PointDouble},
    {Segment, 2016, Bool, Root}, {Segment, 2018, Bool, Root}, {Segment, 2017, Bool, Root},
    {Segment, 2019, Int, Root}, {Segment, 2025, Name, Root}, {Segment, 5, Sub, Colour},
    {Segment, 6, Sub, Bounds}, {Segment, 2015, Text, Root},
    {Vectors, 4, Sub, SimplePath},
    {SimplePath, 5, Sub, Colour}, {SimplePath, 1000, Int, Root}, {SimplePath, 1001, Int, Root},
    {SimplePath, 13, Sub, Points},
    {Effects, 7, Sub, Colour}, {Effects, 8, Sub, Gradient}, {Effects, 15, Sub, Bevel},
    {Effects, 11, Sub, Shadow}, {Effects, 17, Sub, Glow}, {Effects, 18, Sub, Glow},
};

const Row* Find(Node parent, unsigned short id) {
    for (const Row& r : kTree)
        if (r.parent == parent && r.id == id)
            return &r;
    return nullptr;
}

template <class S>
void Walk(LSDFReader<S>& reader, const LSDFChunkInfo<S>& parent, Node node,
          unsigned long long inputSize, kvfuzz::Digest& d) {
    for (LSDFReaderChunkIterator<S> it(reader, parent); it.IsValid() && reader.IsOk(); it.Next()) {
        LSDFReaderChunk<S>& chunk = it.Get();
        d.Add(chunk.id);
        d.Add(chunk.size);
        const Row* row = Find(node, chunk.id);
        if (!row) {
            d.Add(chunk.Skip());
            continue;
        }
        switch (row->kind) {
        case Int: {
            int v = 0;
            d.Add(chunk.ReadInt(v));
            d.Add(static_cast<std::uint32_t>(v));
            break;
        }
        case Bool: {
            bool v = false;
            d.Add(chunk.ReadBool(v));
            d.Add(v);
            break;
        }
        case Float: {
            float v = 0;
            d.Add(chunk.ReadFloat(v));
            d.AddBytes(&v, sizeof v);
            break;
        }
        case Double: {
            double v = 0;
            d.Add(chunk.ReadDouble(v));
            d.AddBytes(&v, sizeof v);
            break;
        }
        case Text: {
            LStringLongTemplate<char> s;
            d.Add(chunk.ReadString(s));
            if (s.GetLength() > inputSize)
                kvfuzz::Fail("a string longer than the input");
            d.AddBytes(s.Get(), s.GetLength());
            break;
        }
        case Name: {
            char field[kLFixedStringSize + 1];
            field[kLFixedStringSize] = 'G';
            d.Add(chunk.ReadString(field));
            if (field[kLFixedStringSize] != 'G' ||
                std::memchr(field, 0, kLFixedStringSize) == nullptr)
                kvfuzz::Fail("a fixed field overrun or left unterminated");
            d.AddBytes(field, std::strlen(field));
            break;
        }
        case Data: {
            LSizedArray<unsigned char> bytes;
            d.Add(chunk.ReadData(bytes));
            if (bytes.GetSize() > inputSize)
                kvfuzz::Fail("data larger than the input");
            d.AddBytes(bytes.Data(), bytes.GetSize());
            break;
        }
        case Sub:
            Walk(reader, chunk, row->child, inputSize, d);
            break;
        }
    }
    d.Add(reader.IsOk());
}

template <class S> kvfuzz::Digest WalkFile(S& stream, unsigned long long inputSize) {
    kvfuzz::Digest d;
    LSDFReader<S> reader;
    const bool open = reader.Open(stream, 21);
    d.Add(open);
    if (open) {
        d.Add(reader.GetFormatVersion());
        Walk(reader, reader.GetRootChunk(), Root, inputSize, d);
        d.Add(reader.Close());
    }
    if (stream.Tell64() > inputSize)
        kvfuzz::Fail("a position beyond the end");
    d.Add(stream.Tell64());
    return d;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    LInputStreamBuffer memory(data, size);
    const kvfuzz::Digest inMemory = WalkFile(memory, size);

    static kvfuzz::MemoryFile file;
    if (file.IsUsable() && file.Set(data, size)) {
        LInputStreamFile stream;
        if (!stream.Open(file.Path()))
            kvfuzz::Fail("the input file cannot be opened");
        if (WalkFile(stream, size) != inMemory)
            kvfuzz::Fail("the file stream and the memory stream saw different things");
    }
    return 0;
}
