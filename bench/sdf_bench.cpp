// Writing and reading back a chunk file of 600,000 small chunks: what a
// project with 200,000 path points makes (one point container and two floats
// per point). Measured through the program's buffered file streams and
// through plain ones, which make a system call per write or read.
//
// Before the benchmarks run, the buffered and the plain writer are checked to
// give the same bytes. For counting system calls, one operation can be run
// alone:
//   kv_bench_sdf --once=write-buffered|write-plain|read-buffered|read-plain <file>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/sdf.h"

namespace {

constexpr int kPoints = 200000;

template <class S> bool WriteProject(S& stream) {
    LSDFWriter<S> w;
    if (!w.Open(stream, 21, 0))
        return false;
    w.StartChunk(1, 0, -1);
    w.StartContainer(2);
    w.WriteInt(1000, 1024);
    w.WriteInt(1001, 768);
    w.StartContainer(3);
    w.WriteBool(2000, true);
    w.WriteString(1003, "Layer 1");
    w.StartContainer(4);
    w.WriteString(2006, "pen");
    w.StartContainer(2023);
    w.WriteFloat(2026, 0.5f);
    w.StartContainer(12);
    w.WriteInt(1000, 1024);
    w.WriteInt(1001, 768);
    w.StartContainer(16);
    for (int i = 0; i < kPoints; ++i) {
        w.StartContainer(9);
        w.WriteFloat(1010, static_cast<float>(i % 1024));
        w.WriteFloat(1011, static_cast<float>(i / 1024));
        w.EndContainer(9);
    }
    for (unsigned short id : {16, 12, 2023, 4, 3, 2, 1})
        w.EndContainer(id);
    return w.Close();
}

// The loader's idiom at every level: iterate, dispatch on the id, read known
// scalars in their width, enter known containers, skip the rest.
template <class S> struct Loader {
    LSDFReader<S>& r;
    long points = 0;
    double sum = 0;

    template <class F> void Each(const LSDFChunkInfo<S>& parent, F handle) {
        for (LSDFReaderChunkIterator<S> it(r, parent); it.IsValid() && r.IsOk(); it.Next())
            if (!handle(it.Get()))
                it->Skip();
    }
    void Point(LSDFReaderChunk<S>& c) {
        float x = 0, y = 0;
        Each(c, [&](LSDFReaderChunk<S>& p) {
            if (p.id != 1010 && p.id != 1011)
                return false;
            p.ReadFloat(p.id == 1010 ? x : y);
            return true;
        });
        sum += x + y;
        ++points;
    }
    void Element(LSDFReaderChunk<S>& c) {
        Each(c, [&](LSDFReaderChunk<S>& e) {
            if (e.id == 2006) {
                char key[kLFixedStringSize];
                e.ReadString(key);
                return true;
            }
            if (e.id != 2023)
                return false;
            Each(e, [&](LSDFReaderChunk<S>& p) {
                if (p.id != 12)
                    return false;
                Each(p, [&](LSDFReaderChunk<S>& q) {
                    if (q.id != 16)
                        return false;
                    Each(q, [&](LSDFReaderChunk<S>& pt) {
                        if (pt.id != 9)
                            return false;
                        Point(pt);
                        return true;
                    });
                    return true;
                });
                return true;
            });
            return true;
        });
    }
    bool Load() {
        Each(r.GetRootChunk(), [&](LSDFReaderChunk<S>& project) {
            if (project.id != 1)
                return false;
            Each(project, [&](LSDFReaderChunk<S>& image) {
                if (image.id != 2)
                    return false;
                Each(image, [&](LSDFReaderChunk<S>& layer) {
                    if (layer.id != 3)
                        return false;
                    Each(layer, [&](LSDFReaderChunk<S>& element) {
                        if (element.id != 4)
                            return false;
                        Element(element);
                        return true;
                    });
                    return true;
                });
                return true;
            });
            return true;
        });
        return r.Close() && points == kPoints;
    }
};

template <class S> bool ReadProject(S& stream) {
    LSDFReader<S> r;
    if (!r.Open(stream, 21))
        return false;
    Loader<S> loader{r};
    return loader.Load();
}

template <class S> bool WriteFile(const char* path) {
    S out;
    if (!out.Open(path))
        return false;
    const bool written = WriteProject(out);
    return out.Close() && written;
}

template <class S> bool ReadFile(const char* path) {
    S in;
    return in.Open(path) && ReadProject(in);
}

std::string TempPath() {
    char path[kLFixedStringSize];
    return LFile::GetTempFilePathWithExt(path, sizeof path, ".kvp") ? path : "";
}

std::vector<char> Contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

template <class S> void Write(benchmark::State& state) {
    const std::string path = TempPath();
    for (auto _ : state)
        if (!WriteFile<S>(path.c_str()))
            state.SkipWithError("write failed");
    LFile::DeleteFile(path.c_str());
    state.counters["chunks"] = 3.0 * kPoints;
}

template <class S> void Read(benchmark::State& state) {
    const std::string path = TempPath();
    WriteFile<LOutputStreamFile>(path.c_str());
    for (auto _ : state)
        if (!ReadFile<S>(path.c_str()))
            state.SkipWithError("read failed");
    LFile::DeleteFile(path.c_str());
    state.counters["chunks"] = 3.0 * kPoints;
}

void WriteMemory(benchmark::State& state) {
    LSizedArray<unsigned char> bytes;
    for (auto _ : state) {
        LOutputStreamByteArray out(bytes);
        out.Open();
        WriteProject(out);
    }
}

BENCHMARK(Write<LOutputStreamFile>)->Name("WriteBuffered")->Unit(benchmark::kMillisecond);
BENCHMARK(Write<LOutputStreamFileUnbuffered>)->Name("WritePlain")->Unit(benchmark::kMillisecond);
BENCHMARK(WriteMemory)->Unit(benchmark::kMillisecond);
BENCHMARK(Read<LInputStreamFile>)->Name("ReadBuffered")->Unit(benchmark::kMillisecond);
BENCHMARK(Read<LInputStreamFileUnbuffered>)->Name("ReadPlain")->Unit(benchmark::kMillisecond);

// One operation alone, for a count of its system calls.
int Once(const std::string& what, const char* path) {
    bool ok = false;
    if (what == "write-buffered")
        ok = WriteFile<LOutputStreamFile>(path);
    else if (what == "write-plain")
        ok = WriteFile<LOutputStreamFileUnbuffered>(path);
    else if (what == "read-buffered")
        ok = ReadFile<LInputStreamFile>(path);
    else if (what == "read-plain")
        ok = ReadFile<LInputStreamFileUnbuffered>(path);
    else
        std::fprintf(stderr, "unknown operation %s\n", what.c_str());
    return ok ? 0 : 1;
}

// The buffer changes when bytes reach the disk, never which bytes.
bool SameBytes() {
    const std::string a = TempPath(), b = TempPath();
    const bool written = WriteFile<LOutputStreamFile>(a.c_str()) &&
                         WriteFile<LOutputStreamFileUnbuffered>(b.c_str());
    const std::vector<char> x = Contents(a), y = Contents(b);
    LFile::DeleteFile(a.c_str());
    LFile::DeleteFile(b.c_str());
    if (!written || x != y || x.empty()) {
        std::fprintf(stderr, "the buffered and the plain writer disagree\n");
        return false;
    }
    std::printf("buffered and plain files identical: %zu bytes, %d chunks\n", x.size(),
                3 * kPoints);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc >= 3 && std::strncmp(argv[1], "--once=", 7) == 0)
        return Once(argv[1] + 7, argv[2]);
    if (!SameBytes())
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
