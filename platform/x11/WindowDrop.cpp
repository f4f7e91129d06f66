#include "platform/x11/WindowDrop.h"

#include <algorithm>

#include "platform/UriList.h"

namespace keldra {

namespace {

constexpr std::uint32_t kVersion = 5;
constexpr std::uint32_t kMostWords =
    16384; // of what is dropped: 64 KiB; only the first path counts

} // namespace

void CWindowDrop::Announce()
{
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, atoms_[kXdndAware],
                        XCB_ATOM_ATOM, 32, 1, &kVersion);
}

bool CWindowDrop::OffersFiles(const xcb_client_message_event_t& message) const
{
    const std::uint32_t* data = message.data.data32;
    const auto isFiles = [this](std::uint32_t type) { return type == atoms_[kUriList]; };
    if ((data[1] & 1) == 0)
        return std::any_of(data + 2, data + 5, isFiles);
    // More than three types: the other window has the list.
    const CXcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, data[0], atoms_[kXdndTypeList], XCB_ATOM_ATOM, 0, 1024),
        nullptr));
    if (reply == nullptr || reply->format != 32)
        return false;
    const auto* types = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return std::any_of(types, types + xcb_get_property_value_length(reply.get()) / 4, isFiles);
}

void CWindowDrop::Answer(EXAtom type, std::uint32_t flags, std::uint32_t third,
                         std::uint32_t fourth)
{
    xcb_client_message_event_t answer{};
    answer.response_type = XCB_CLIENT_MESSAGE;
    answer.format = 32;
    answer.window = source_;
    answer.type = atoms_[type];
    answer.data.data32[0] = window_;
    answer.data.data32[1] = flags;
    answer.data.data32[2] = third;
    answer.data.data32[4] = fourth;
    xcb_send_event(connection_, 0, source_, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&answer));
}

bool CWindowDrop::OnMessage(const xcb_client_message_event_t& message)
{
    const std::uint32_t* data = message.data.data32;
    const xcb_atom_t type = message.type;
    if (message.format != 32)
        return false;
    if (type == atoms_[kXdndEnter]) {
        source_ = data[0];
        hasFiles_ = OffersFiles(message);
    } else if (source_ == 0 || data[0] != source_) {
        // Late, or from somebody who never came in.
        return type == atoms_[kXdndPosition] || type == atoms_[kXdndLeave] ||
               type == atoms_[kXdndDrop];
    } else if (type == atoms_[kXdndPosition]) {
        root_ = {static_cast<int>(data[2] >> 16), static_cast<int>(data[2] & 0xffff)};
        Answer(kXdndStatus, hasFiles_ ? 1 : 0, 0, hasFiles_ ? atoms_[kXdndActionCopy] : 0);
    } else if (type == atoms_[kXdndLeave]) {
        source_ = 0;
    } else if (type == atoms_[kXdndDrop]) {
        if (hasFiles_) {
            xcb_convert_selection(connection_, window_, atoms_[kXdndSelection], atoms_[kUriList],
                                  atoms_[kXdndSelection], data[2]);
        } else {
            Answer(kXdndFinished, 0, 0, 0);
            source_ = 0;
        }
    } else {
        return false;
    }
    xcb_flush(connection_);
    return true;
}

bool CWindowDrop::OnSelection(const xcb_selection_notify_event_t& event, std::string& path,
                              PixelPoint& root)
{
    if (source_ == 0 || event.selection != atoms_[kXdndSelection])
        return false;
    if (event.property != XCB_ATOM_NONE) {
        // Of another type comes what is too long for one piece: thousands of files. It is declined.
        const CXcbReply<xcb_get_property_reply_t> reply(
            xcb_get_property_reply(connection_,
                                   xcb_get_property(connection_, 1, window_, event.property,
                                                    atoms_[kUriList], 0, kMostWords),
                                   nullptr));
        if (reply != nullptr && reply->type == atoms_[kUriList] && reply->format == 8)
            path =
                FirstPathOf({static_cast<const char*>(xcb_get_property_value(reply.get())),
                             static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))});
    }
    const bool taken = !path.empty();
    Answer(kXdndFinished, taken ? 1 : 0, taken ? atoms_[kXdndActionCopy] : 0, 0);
    xcb_flush(connection_);
    source_ = 0;
    root = root_;
    return taken;
}

} // namespace keldra
