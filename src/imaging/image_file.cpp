#include "imaging/image_file.h"

#include <cstdio>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/app_paths.h"
#include "foundation/base64.h"
#include "imaging/image_codec_io.h"
#include "imaging/image_platform.h"

namespace {

constexpr const char* kLoadFailed = "The image could not be loaded.";
constexpr const char* kSaveFailed = "The image could not be saved";
constexpr const char* kNotFound = "The file could not be found.";
constexpr const char* kNotRecognized = "The file type is not recognized.";
constexpr const char* kNotSupported = "The file format is not supported.";
constexpr const char* kNotOpened = "The file could not be opened.";
constexpr const char* kNotWritten = "File could not be written.";

bool IsCameraRaw(unsigned int codec) {
    return codec == LImageCodecDNG || (codec >= LImageCodecRAW && codec <= LImageCodecRawSony);
}

// The mode a new file gets from the user's umask, read without changing it
// (umask(2) would, for every thread at once).
mode_t NewFileMode() {
    mode_t mask = 022;
    if (FILE* f = std::fopen("/proc/self/status", "re")) {
        char line[256];
        while (std::fgets(line, sizeof line, f)) {
            unsigned int value;
            if (std::sscanf(line, "Umask: %o", &value) == 1) {
                mask = static_cast<mode_t>(value);
                break;
            }
        }
        std::fclose(f);
    }
    return 0666 & ~mask;
}

// A temporary file is private; what replaces a file keeps that file's
// permissions, and a new file gets the ones any new file would get.
void GiveModeOfTarget(const char* temp, const char* target) {
    struct stat st;
    const mode_t mode = stat(target, &st) == 0 ? (st.st_mode & 07777) : NewFileMode();
    chmod(temp, mode);
}

} // namespace

void LImageGetDisplayName(const char* path, char (&name)[kLFixedStringSize]) {
    std::size_t n = 0;
    for (const char* p = path ? path : ""; *p && n < kLFixedStringSize - 2; ++p) {
        if (*p == '/' || *p == '\\')
            n = 0;
        else
            name[n++] = *p;
    }
    name[n] = '\0';
}

namespace {

// One decoder over the input from its start. Result 2 also for a codec
// without a reader in this build; `bits` is set on success.
LProcessResult DecodeAs(LProcessInterface& process, unsigned int codec, LImageCodecInput& input,
                        LImageBuffer& buffer, unsigned int& bits) {
    LProcessResult result = LProcessResultError;
    auto run = [&](auto worker) {
        result = Process(process, worker);
        bits = worker.bitsPerPixel;
    };
    if (IsCameraRaw(codec)) {
        run(LProcessCamRAWLoad{input, buffer});
        return result;
    }
    switch (codec) {
    case LImageCodecJPEG:
        run(LProcessJPEGLoad{input, buffer});
        break;
    case LImageCodecJPEG2000:
        run(LProcessJPEG2000Load{input, buffer});
        break;
    case LImageCodecPNG:
        run(LProcessPNGLoad{input, buffer});
        break;
    case LImageCodecTIFF:
        run(LProcessTIFFLoad{input, buffer});
        break;
    case LImageCodecSVG:
        // Nothing to decode: a picture of the SVG is made elsewhere.
        result = buffer.IsValid() ? LProcessResultOk : LProcessResultError;
        break;
    default:
        // GIF, and BMP, ICO, PCX, PNM, PSD, RAS, TGA and WBMP: the program's
        // own readers of these are not part of this build yet.
        break;
    }
    return result;
}

// The codec that a file the named codec could not read is handed to: the
// one whose signature it carries, if that is not the named codec's own.
// Camera raw files look like TIFF, so a raw file that fails stays failed
// rather than open as the small preview most of them hold.
unsigned int OtherCodecOfContent(unsigned int named, LImageCodecInput& input) {
    unsigned char head[12];
    if (named == LImageCodecSVG || !input.Seek(0))
        return LImageCodecNone;
    const unsigned long n = input.Read(head, sizeof head);
    const unsigned int found = LImageGetCodecFromSignature(head, n);
    if (found == named || (IsCameraRaw(named) && found == LImageCodecTIFF) || !input.Seek(0))
        return LImageCodecNone;
    return found;
}

} // namespace

template <class Stream>
LProcessResult Process(LProcessInterface& process, LProcessImageLoad<Stream>& load) {
    if (!load.stream.IsOpen() || !load.codec.IsValid() || load.codec == LImageCodecGIF)
        return LProcessResultError;
    LImageCodecStreamInput<Stream> input(load.stream);
    LImageBuffer& buffer = load.buffer;
    unsigned int bits = 0;
    LProcessResult result = DecodeAs(process, load.codec, input, buffer, bits);
    if (result == LProcessResultError) {
        const unsigned int other = OtherCodecOfContent(load.codec, input);
        if (other != LImageCodecNone)
            result = DecodeAs(process, other, input, buffer, bits);
    }
    if (result == LProcessResultStopped)
        return result;
    if (result != LProcessResultOk || !buffer.IsValid()) {
        process.SetError(kLoadFailed);
        return LProcessResultError;
    }
    load.bitsPerPixel = bits;
    return LProcessResultOk;
}

template <class Stream>
LProcessResult Process(LProcessInterface& process, LProcessImageSave<Stream>& save) {
    if (!save.buffer.IsValid() || !save.stream.IsOpen() || !save.codec.IsValid())
        return LProcessResultError;
    LImageCodecStreamOutput<Stream> output(save.stream);
    const LImageBuffer& buffer = save.buffer;
    const LImageEncodeSettings& settings = save.settings;
    LProcessResult result;
    switch (static_cast<unsigned int>(save.codec)) {
    case LImageCodecJPEG: {
        LProcessJPEGSave worker{output, buffer, settings.jpegQuality};
        result = Process(process, worker);
        break;
    }
    case LImageCodecJPEG2000: {
        LProcessJPEG2000Save worker{output, buffer,
                                    settings.jpeg2000Lossy ? settings.jpeg2000Quality : 100};
        result = Process(process, worker);
        break;
    }
    case LImageCodecPNG: {
        LProcessPNGSave worker{output, buffer};
        result = Process(process, worker);
        break;
    }
    case LImageCodecTIFF: {
        LProcessTIFFSave worker{output, buffer};
        result = Process(process, worker);
        break;
    }
    case LImageCodecSVG: {
        LProcessSVGSave<Stream> worker{save.stream, buffer};
        result = Process(process, worker);
        break;
    }
    case LImageCodecBMP:
    case LImageCodecICO:
    case LImageCodecPCX:
    case LImageCodecPNM:
    case LImageCodecPSD:
    case LImageCodecRAS:
    case LImageCodecTGA:
    case LImageCodecWBMP:
        // The program's own writers of these are not part of this build yet.
        result = LProcessResultError;
        break;
    default:
        return LProcessResultError; // nothing writes this format
    }
    if (result == LProcessResultError)
        process.SetError(kSaveFailed);
    return result;
}

template LProcessResult Process(LProcessInterface&, LProcessImageLoad<LInputStreamFile>&);
template LProcessResult Process(LProcessInterface&, LProcessImageLoad<LInputStreamBuffer>&);
template LProcessResult Process(LProcessInterface&, LProcessImageSave<LOutputStreamFile>&);
template LProcessResult Process(LProcessInterface&, LProcessImageSave<LOutputStreamByteArray>&);

template <class Stream>
LProcessResult Process(LProcessInterface& process, LProcessSVGSave<Stream>& save) {
    const LImageBuffer& b = save.buffer;
    LSizedArray<unsigned char> png;
    {
        LOutputStreamByteArray bytes(png);
        bytes.Open();
        LImageEncodeSettings settings;
        LProcessImageSave<LOutputStreamByteArray> encode(bytes, LImageCodecPNG, b, settings);
        LProcessInterfaceSubProcess part(process, 0, 0.8);
        const LProcessResult r = Process(part, encode);
        if (r != LProcessResultOk)
            return r;
    }
    LStringLongTemplate<char> base64;
    LBase64Encode(png.Data(), png.GetSize(), base64);
    png.Clear();

    char width[16], height[16];
    std::snprintf(width, sizeof width, "%d", b.width);
    std::snprintf(height, sizeof height, "%d", b.height);
    LStringLongTemplate<char> text;
    auto add = [&text](const char* s) { text.Append(s); };
    add("<svg\r\n");
    add(" xmlns=\"http://www.w3.org/2000/svg\"\r\n");
    add(" xmlns:xlink=\"http://www.w3.org/1999/xlink\"\r\n");
    add(" version=\"1.1\"\r\n");
    add(" width=\"");
    add(width);
    add("\"\r\n");
    add(" height=\"");
    add(height);
    add("\">\r\n");
    add(" <g>\r\n");
    add("    <image x=\"0\" y=\"0\" width=\"");
    add(width);
    add("\" height=\"");
    add(height);
    add("\"\r\n");
    add("       xlink:href=\"data:image/png;base64,");
    text.Append(base64.Get(), base64.GetLength());
    add("\"/>\r\n");
    add(" </g>\r\n");
    add("</svg>\r\n");
    base64.Clear();

    // The text goes out in pieces, so that the last part of the bar moves.
    const unsigned long size = text.GetLength();
    const unsigned long piece = 1ul << 20;
    for (unsigned long at = 0; at < size; at += piece) {
        if (process.IsToStop())
            return LProcessResultStopped;
        const unsigned long n = size - at < piece ? size - at : piece;
        if (!save.stream.WriteAll(text.Get() + at, n))
            return LProcessResultError;
        process.SetProgress(0.8 + 0.2 * static_cast<double>(at + n) / size);
    }
    return LProcessResultOk;
}

template LProcessResult Process(LProcessInterface&, LProcessSVGSave<LOutputStreamFile>&);
template LProcessResult Process(LProcessInterface&, LProcessSVGSave<LOutputStreamByteArray>&);

LProcessImageLoadFile::LProcessImageLoadFile(const char* path, unsigned int timeoutMs,
                                             const LImageCodecVetoer* vetoer, LImageBuffer& buffer)
    : timeoutMs(timeoutMs), vetoer(vetoer), buffer(buffer) {
    LStrCopy(this->path, path);
    pathTooLong = path && std::strlen(path) >= kLFixedStringSize;
}

LProcessImageSaveFile::LProcessImageSaveFile(const LImageBuffer& buffer, const char* path,
                                             const LImageEncodeSettings& settings,
                                             unsigned int timeoutMs,
                                             const LImageCodecVetoer* vetoer)
    : buffer(buffer), settings(settings), timeoutMs(timeoutMs), vetoer(vetoer) {
    LStrCopy(this->path, path);
    pathTooLong = path && std::strlen(path) >= kLFixedStringSize;
}

LProcessResult Process(LProcessInterface& process, LProcessImageLoadFile& load) {
    char name[kLFixedStringSize];
    LImageGetDisplayName(load.path, name);
    process.SetStatusF(0, "Loading %s", name);
    if (load.pathTooLong || !LFile::Exists(load.path)) {
        process.SetError(kNotFound);
        return LProcessResultError;
    }
    LImageCodec codec;
    if (!codec.InitFromFilePath(load.path)) {
        process.SetError(kNotRecognized);
        return LProcessResultError;
    }
    if (load.vetoer && !load.vetoer->IsEnabled(codec, LImageIOTypeLoad)) {
        process.SetError(kNotSupported);
        return LProcessResultError;
    }
    LInputStreamFile stream;
    if (!stream.Open(load.path, load.timeoutMs)) {
        process.SetError(kNotOpened);
        return LProcessResultError;
    }
    LProcessImageLoad<LInputStreamFile> work(stream, codec, load.buffer);
    LProcessInterfaceSubProcess part(process, 0, 1);
    const LProcessResult result = Process(part, work);
    load.bitsPerPixel = work.bitsPerPixel;
    stream.Close();
    if (result == LProcessResultOk)
        process.SetProgress(1);
    return result;
}

LProcessResult Process(LProcessInterface& process, LProcessImageSaveFile& save) {
    char name[kLFixedStringSize];
    LImageGetDisplayName(save.path, name);
    process.SetStatusF(0, "Saving %s", name);
    if (save.pathTooLong) {
        process.SetError(kNotOpened);
        return LProcessResultError;
    }
    LImageCodec codec;
    if (!codec.InitFromFilePath(save.path)) {
        process.SetError(kNotRecognized);
        return LProcessResultError;
    }
    if (save.vetoer && !save.vetoer->IsEnabled(codec, LImageIOTypeSave)) {
        process.SetError(kNotSupported);
        return LProcessResultError;
    }
    // Without a cache folder (a home that cannot be written) the system's
    // temporary folder serves.
    const std::string folder = LEnsureFolder(LGetUserCacheFolder());
    char temp[kLFixedStringSize * 2];
    if (!LFile::GetTempFilePath(temp, sizeof temp, folder.empty() ? nullptr : folder.c_str())) {
        process.SetError(kNotOpened);
        return LProcessResultError;
    }
    LProcessResult result;
    {
        LOutputStreamFile stream;
        if (!stream.Open(temp, save.timeoutMs)) {
            const int error = errno;
            unlink(temp);
            process.SetError(LFile::ErrorText(kNotWritten, save.path, error).c_str());
            return LProcessResultError;
        }
        LProcessImageSave<LOutputStreamFile> work(stream, codec, save.buffer, save.settings);
        LProcessInterfaceSubProcess part(process, 0, 1);
        result = Process(part, work);
        const bool closed = stream.Close();
        if (result == LProcessResultOk && !closed) {
            // The disk filled up on the way.
            process.SetError(LFile::ErrorText(kNotWritten, save.path, errno).c_str());
            result = LProcessResultError;
        }
    }
    if (result == LProcessResultOk) {
        GiveModeOfTarget(temp, save.path);
        if (!LFile::MoveFile(temp, save.path)) {
            process.SetError(LFile::ErrorText(kNotWritten, save.path, errno).c_str());
            result = LProcessResultError;
        }
    }
    unlink(temp); // gone already when it was moved
    if (result == LProcessResultOk)
        process.SetProgress(1);
    return result;
}

namespace LImage {

unsigned int Load(LProcessInterface& process, LImageBuffer& buffer, const char* path,
                  unsigned int timeoutMs) {
    LProcessImageLoadFile load(path, timeoutMs, nullptr, buffer);
    return Process(process, load) == LProcessResultOk ? load.bitsPerPixel : 0;
}

unsigned int Load(LImageBuffer& buffer, const char* path, unsigned int timeoutMs) {
    LProcessInterfaceVoid process;
    return Load(process, buffer, path, timeoutMs);
}

unsigned int Load(LImageBuffer& buffer, const void* data, unsigned long size, int encoding) {
    const LImageCodec codec = LImageGetCodecFromEncoding(encoding);
    if (!codec.IsValid())
        return 0;
    LInputStreamBuffer stream;
    if (!stream.Open(data, size))
        return 0;
    LProcessInterfaceVoid process;
    LProcessImageLoad<LInputStreamBuffer> load(stream, codec, buffer);
    return Process(process, load) == LProcessResultOk ? load.bitsPerPixel : 0;
}

unsigned int LoadResource(LImageBuffer& buffer, int id, int encoding) {
    const char* word = encoding == EncodingJPEG  ? "jpg"
                       : encoding == EncodingBMP ? "bmp"
                       : encoding == EncodingPNG ? "png"
                                                 : nullptr;
    if (!word)
        return 0;
    const std::string folder = LGetProgramDataFolder("resources");
    if (folder.empty())
        return 0;
    char path[kLFixedStringSize * 4];
    std::snprintf(path, sizeof path, "%s/%s/%d.%s", folder.c_str(), word, id, word);
    LInputStreamFile file;
    if (!file.Open(path))
        return 0;
    const unsigned long long size = file.GetFileSizeBytes64();
    if (size == 0 || size > (1ull << 30))
        return 0;
    LSizedArray<unsigned char> bytes(static_cast<unsigned long>(size));
    if (file.Read(bytes.Data(), bytes.GetSize()) != bytes.GetSize())
        return 0;
    return Load(buffer, bytes.Data(), bytes.GetSize(), encoding);
}

bool Save(const LImageBuffer& buffer, const char* path) {
    return Save(buffer, path, LImageEncodeSettings(), 3000);
}

bool Save(const LImageBuffer& buffer, const char* path, const LImageEncodeSettings& settings,
          unsigned int timeoutMs) {
    LProcessInterfaceVoid process;
    LProcessImageSaveFile save(buffer, path, settings, timeoutMs, nullptr);
    return Process(process, save) == LProcessResultOk;
}

bool Save(const LImageBuffer& buffer, LSizedArray<unsigned char>& bytes, int encoding) {
    return Save(buffer, bytes, encoding, LImageEncodeSettings());
}

bool Save(const LImageBuffer& buffer, LSizedArray<unsigned char>& bytes, int encoding,
          const LImageEncodeSettings& settings) {
    const LImageCodec codec = LImageGetCodecFromEncoding(encoding);
    if (!codec.IsValid())
        return false;
    LOutputStreamByteArray stream(bytes);
    stream.Open();
    LProcessInterfaceVoid process;
    LProcessImageSave<LOutputStreamByteArray> save(stream, codec, buffer, settings);
    const bool ok = Process(process, save) == LProcessResultOk;
    stream.Close();
    return ok;
}

} // namespace LImage
