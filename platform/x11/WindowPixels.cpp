#include "platform/x11/WindowPixels.h"

#include <algorithm>
#include <cstring>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/shm.h>

namespace keldra {

namespace {

/// Memory can be shared only with a server on this machine, over a connection that carries file
/// descriptors.
bool IsLocal(xcb_connection_t* connection)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    return getpeername(xcb_get_file_descriptor(connection), reinterpret_cast<sockaddr*>(&address),
                       &length) == 0 &&
           address.ss_family == AF_UNIX;
}

/// The server makes the memory (extension version 1.2): it goes with the connection, however this
/// process ends.
bool CanShare(xcb_connection_t* connection)
{
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_shm_id);
    if (extension == nullptr || extension->present == 0 || !IsLocal(connection))
        return false;
    const CXcbReply<xcb_shm_query_version_reply_t> version(
        xcb_shm_query_version_reply(connection, xcb_shm_query_version(connection), nullptr));
    return version != nullptr && (version->major_version > 1 ||
                                  (version->major_version == 1 && version->minor_version >= 2));
}

const std::uint32_t* RowOf(const PixelView& pixels, int y)
{
    return pixels.pixels +
           static_cast<std::ptrdiff_t>(pixels.size.height - 1 - y) * pixels.size.width;
}

/// Copies pixels; a deep window wants them opaque, or the desktop would shine through.
void CopyRow(std::uint32_t* to, const std::uint32_t* from, int count, std::uint32_t alpha)
{
    for (int x = 0; x < count; ++x)
        to[x] = from[x] | alpha;
}

} // namespace

CWindowPixels::CWindowPixels(xcb_connection_t* connection, xcb_window_t window, std::uint8_t depth)
    : connection_(connection),
      window_(window),
      depth_(depth),
      gc_(xcb_generate_id(connection)),
      hasSharing_(CanShare(connection))
{
    const std::uint32_t noExposures = 0;
    xcb_create_gc(connection_, gc_, window_, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
}

CWindowPixels::~CWindowPixels()
{
    Unshare();
}

void CWindowPixels::Resize(PixelSize size)
{
    if (size == size_)
        return;
    Unshare();
    size_ = size;
    if (hasSharing_)
        Share();
}

void CWindowPixels::Share()
{
    const std::size_t bytes =
        static_cast<std::size_t>(size_.width) * static_cast<std::size_t>(size_.height) * 4;
    const std::uint32_t segment = xcb_generate_id(connection_);
    const CXcbReply<xcb_shm_create_segment_reply_t> reply(xcb_shm_create_segment_reply(
        connection_,
        xcb_shm_create_segment(connection_, segment, static_cast<std::uint32_t>(bytes), 1),
        nullptr));
    if (reply == nullptr || reply->nfd != 1)
        return;
    const int file = xcb_shm_create_segment_reply_fds(connection_, reply.get())[0];
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (memory == MAP_FAILED) {
        xcb_shm_detach(connection_, segment);
        return;
    }
    segment_ = segment;
    shared_ = static_cast<std::uint32_t*>(memory);
    sharedBytes_ = bytes;
}

void CWindowPixels::Unshare()
{
    if (shared_ == nullptr)
        return;
    xcb_shm_detach(connection_, segment_);
    munmap(shared_, sharedBytes_);
    shared_ = nullptr;
    reading_.clear();
}

void CWindowPixels::Done(std::uint32_t sequence)
{
    // Differences, since the numbers start again at 0 some day.
    std::erase_if(reading_, [sequence](const Reading& reading) {
        return static_cast<std::int32_t>(sequence - reading.sequence) >= 0;
    });
}

/// Two presents of one place in quick succession would show a mixture of both while the server is
/// behind. It hardly ever is: events say how far it has come.
void CWindowPixels::WaitUntilRead(const PixelRect& area)
{
    for (const Reading& reading : reading_)
        if (!Intersection(reading.area, area).IsEmpty()) {
            SyncWithServer(connection_);
            reading_.clear();
            return;
        }
}

void CWindowPixels::Present(const PixelView& pixels, const PixelRect& area)
{
    const PixelRect limited = Intersection(Intersection(area, {0, 0, size_.width, size_.height}),
                                           {0, 0, pixels.size.width, pixels.size.height});
    if (pixels.pixels == nullptr || limited.IsEmpty())
        return;
    if (shared_ != nullptr)
        PresentShared(pixels, limited);
    else
        PresentPlain(pixels, limited);
    xcb_flush(connection_);
}

void CWindowPixels::PresentShared(const PixelView& pixels, const PixelRect& area)
{
    WaitUntilRead(area);
    const std::uint32_t alpha = depth_ == 32 ? 0xff000000 : 0;
    for (int y = area.y; y < area.y + area.height; ++y)
        CopyRow(shared_ + static_cast<std::ptrdiff_t>(y) * size_.width + area.x,
                RowOf(pixels, y) + area.x, area.width, alpha);
    const auto u16 = [](int number) { return static_cast<std::uint16_t>(number); };
    const auto s16 = [](int number) { return static_cast<std::int16_t>(number); };
    const xcb_void_cookie_t cookie =
        xcb_shm_put_image(connection_, window_, gc_, u16(size_.width), u16(size_.height),
                          u16(area.x), u16(area.y), u16(area.width), u16(area.height), s16(area.x),
                          s16(area.y), depth_, XCB_IMAGE_FORMAT_Z_PIXMAP, 0, segment_, 0);
    reading_.push_back({area, cookie.sequence});
}

void CWindowPixels::PresentPlain(const PixelView& pixels, const PixelRect& area)
{
    // As many rows a request as the server takes.
    const std::size_t mostWords = xcb_get_maximum_request_length(connection_) - 16;
    const auto width = static_cast<std::size_t>(area.width);
    const int rowsAtOnce =
        std::max(static_cast<int>(std::min<std::size_t>(mostWords / width, 4096)), 1);
    const std::uint32_t alpha = depth_ == 32 ? 0xff000000 : 0;
    for (int done = 0; done < area.height; done += rowsAtOnce) {
        const int count = std::min(rowsAtOnce, area.height - done);
        rows_.resize(width * static_cast<std::size_t>(count));
        for (int row = 0; row < count; ++row)
            CopyRow(rows_.data() + width * static_cast<std::size_t>(row),
                    RowOf(pixels, area.y + done + row) + area.x, area.width, alpha);
        xcb_put_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window_, gc_,
                      static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(count),
                      static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y + done),
                      0, depth_, static_cast<std::uint32_t>(rows_.size() * 4),
                      reinterpret_cast<const std::uint8_t*>(rows_.data()));
    }
}

} // namespace keldra
