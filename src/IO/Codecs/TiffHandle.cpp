#include "IO/Codecs/TiffHandle.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <mutex>

namespace ombrel {

namespace {

/// Beside the file's own size: directories, tables and line buffers of the codecs.
constexpr std::uint64_t largestAllocation = std::uint64_t{512} << 20;

void silenceGlobalHandlers() {
    // Some faults have no handle to report to.
    static std::once_flag once;
    std::call_once(once, [] {
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
    });
}

} // namespace

struct TiffHandle::Callbacks {
    static TiffHandle& of(thandle_t client) { return *static_cast<TiffHandle*>(client); }

    static tmsize_t read(thandle_t client, void* out, tmsize_t length) {
        TiffHandle& handle = of(client);
        if (length <= 0) return 0;
        const std::size_t count = handle.source_.readAt(
            handle.position_, {static_cast<std::byte*>(out), static_cast<std::size_t>(length)});
        handle.position_ += count;
        return static_cast<tmsize_t>(count);
    }
    static tmsize_t write(thandle_t, void*, tmsize_t) { return -1; }
    static toff_t seek(thandle_t client, toff_t offset, int origin) {
        TiffHandle& handle = of(client);
        const std::uint64_t base = origin == SEEK_CUR   ? handle.position_
                                   : origin == SEEK_END ? handle.source_.size()
                                                        : 0;
        return handle.position_ = base + offset;
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t client) { return of(client).source_.size(); }
    static int map(thandle_t, void**, toff_t*) { return 0; }
    static void unmap(thandle_t, void*, toff_t) {}

    static int onError(TIFF*, void*, const char*, const char*, va_list) { return 1; }
    static int onWarning(TIFF*, void* client, const char*, const char* format, va_list) {
        // libtiff fills the gap itself and leaves no other trace of it.
        if (std::strstr(format, "Defining non-color channels as ExtraSamples") != nullptr) {
            static_cast<TiffHandle*>(client)->lacksExtraSamples_ = true;
        }
        return 1;
    }
};

std::unique_ptr<TiffHandle> TiffHandle::open(ByteSource& source) {
    silenceGlobalHandlers();
    std::unique_ptr<TiffHandle> handle(new TiffHandle(source));
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) return nullptr;
    const std::uint64_t limit = std::min<std::uint64_t>(source.size() + largestAllocation,
                                                        std::numeric_limits<tmsize_t>::max());
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(limit));
    TIFFOpenOptionsSetErrorHandlerExtR(options, Callbacks::onError, handle.get());
    TIFFOpenOptionsSetWarningHandlerExtR(options, Callbacks::onWarning, handle.get());
    handle->tiff_ = TIFFClientOpenExt("", "rm", handle.get(), Callbacks::read, Callbacks::write,
                                      Callbacks::seek, Callbacks::close, Callbacks::size,
                                      Callbacks::map, Callbacks::unmap, options);
    TIFFOpenOptionsFree(options);
    if (handle->tiff_ == nullptr) return nullptr;
    return handle;
}

TiffHandle::~TiffHandle() {
    if (tiff_ != nullptr) TIFFClose(tiff_);
}

} // namespace ombrel
