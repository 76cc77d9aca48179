#include "Vintra/platform/linux/x11/X11WindowQuestions.h"

#include <X11/Xatom.h>
#include <X11/Xlib-xcb.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

namespace vintra {
namespace {

constexpr xcb_atom_t kNoAtom = XCB_ATOM_NONE;
constexpr uint32_t kMostItems = 4096; // of 32 bits, of a property

struct FreeAnswer {
    void operator()(void* answer) const { std::free(answer); }
};
template <typename Reply>
using XcbAnswer = std::unique_ptr<Reply, FreeAnswer>;

constexpr std::array kPassingTypes = {"_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", "_NET_WM_WINDOW_TYPE_POPUP_MENU",
                                      "_NET_WM_WINDOW_TYPE_TOOLTIP",       "_NET_WM_WINDOW_TYPE_NOTIFICATION",
                                      "_NET_WM_WINDOW_TYPE_COMBO",         "_NET_WM_WINDOW_TYPE_DND",
                                      "_NET_WM_WINDOW_TYPE_SPLASH"};
constexpr std::array kOtherAtoms = {
    "_NET_CLIENT_LIST_STACKING", "_NET_CLIENT_LIST", "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_DOCK",  "_NET_WM_NAME",     "_NET_WM_PID",         kShadowProperty};

/// A property's items of 32 bits; empty if it isn't there or is of another kind.
std::vector<uint32_t> numbersOf(const xcb_get_property_reply_t* property) {
    if (!property || property->format != 32) return {};
    const auto* const items = static_cast<const uint32_t*>(xcb_get_property_value(property));
    return {items, items + property->value_len};
}

std::string bytesOf(const xcb_get_property_reply_t& property) {
    return {static_cast<const char*>(xcb_get_property_value(&property)),
            static_cast<size_t>(xcb_get_property_value_length(&property))};
}

/// The second of two strings, each of which ends with a 0.
std::string classOf(const xcb_get_property_reply_t* property) {
    if (!property || property->format != 8) return {};
    const std::string both = bytesOf(*property);
    const size_t end = both.find('\0');
    return end == std::string::npos ? std::string() : std::string(both.c_str() + end + 1);
}

} // namespace

/// The questions about one window that are under way.
struct X11WindowQuestions::Asked {
    xcb_window_t window = 0;
    xcb_get_window_attributes_cookie_t attributes{};
    xcb_get_geometry_cookie_t geometry{};
    xcb_translate_coordinates_cookie_t place{};
    xcb_get_property_cookie_t types{};
    xcb_get_property_cookie_t shadow{};
    xcb_get_property_cookie_t modernTitle{};
    xcb_get_property_cookie_t title{};
    xcb_get_property_cookie_t windowClass{};
    xcb_get_property_cookie_t process{};
};

X11WindowQuestions::X11WindowQuestions(X11Display& display)
    : display(display)
    , connection(XGetXCBConnection(display.get()))
    , root(static_cast<xcb_window_t>(display.root())) {
    readAtoms();
    readRoot();
}

X11WindowQuestions::~X11WindowQuestions() {
    if (xcb_connection_has_error(connection) && !display.isDead()) XSync(display.get(), False);
}

xcb_atom_t X11WindowQuestions::atom(const char* name) const {
    const auto found = atoms.find(name);
    return found == atoms.end() ? kNoAtom : found->second;
}

void X11WindowQuestions::readAtoms() {
    std::vector<std::pair<std::string, xcb_intern_atom_cookie_t>> asked;
    const auto askFor = [&](const std::string& name) {
        asked.emplace_back(name,
                           xcb_intern_atom(connection, 1, static_cast<uint16_t>(name.size()), name.c_str()));
    };
    std::ranges::for_each(kOtherAtoms, askFor);
    std::ranges::for_each(kPassingTypes, askFor);
    for (const auto& [name, cookie] : asked) {
        const XcbAnswer<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
        if (reply && reply->atom != XCB_ATOM_NONE) atoms[name] = reply->atom;
    }
}

xcb_get_property_cookie_t X11WindowQuestions::askProperty(xcb_window_t window, xcb_atom_t property,
                                                          xcb_atom_t type) {
    return xcb_get_property(connection, 0, window, property, type, 0, kMostItems);
}

void X11WindowQuestions::readRoot() {
    const auto geometry = xcb_get_geometry(connection, root);
    const auto tree = xcb_query_tree(connection, root);
    std::vector<xcb_get_property_cookie_t> lists;
    for (const char* const name : {"_NET_CLIENT_LIST_STACKING", "_NET_CLIENT_LIST"}) {
        if (atom(name) != XCB_ATOM_NONE) lists.push_back(askProperty(root, atom(name), XCB_ATOM_WINDOW));
    }
    if (const XcbAnswer<xcb_get_geometry_reply_t> reply{
            xcb_get_geometry_reply(connection, geometry, nullptr)})
        desktop = {0, 0, reply->width, reply->height};
    if (const XcbAnswer<xcb_query_tree_reply_t> reply{xcb_query_tree_reply(connection, tree, nullptr)}) {
        const xcb_window_t* const first = xcb_query_tree_children(reply.get());
        children.assign(first, first + xcb_query_tree_children_length(reply.get()));
    }
    for (const auto cookie : lists) {
        const XcbAnswer<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
        const auto windows = numbersOf(reply.get());
        if (managed.empty()) managed.assign(windows.begin(), windows.end());
    }
}

std::map<::Window, ::Window> X11WindowQuestions::parentsOf(const std::vector<::Window>& windows) {
    std::vector<xcb_query_tree_cookie_t> asked;
    for (const ::Window window : windows)
        asked.push_back(xcb_query_tree(connection, static_cast<xcb_window_t>(window)));
    std::map<::Window, ::Window> parents;
    for (size_t i = 0; i < windows.size(); ++i) {
        const XcbAnswer<xcb_query_tree_reply_t> reply(xcb_query_tree_reply(connection, asked[i], nullptr));
        parents[windows[i]] = reply ? reply->parent : 0;
    }
    return parents;
}

std::vector<X11Window> X11WindowQuestions::describe(const std::vector<::Window>& windows) {
    std::vector<Asked> asked;
    for (const ::Window window : windows)
        asked.push_back(ask(static_cast<xcb_window_t>(window)));
    std::vector<X11Window> described;
    for (const Asked& each : asked) {
        if (auto window = answer(each)) described.push_back(std::move(*window));
    }
    return described;
}

X11WindowQuestions::Asked X11WindowQuestions::ask(xcb_window_t window) {
    const auto property = [&](xcb_atom_t name, xcb_atom_t type) {
        // A name that nobody has used is no property of any window; what is asked instead isn't either.
        constexpr xcb_atom_t kOfRootAlone = XCB_ATOM_CUT_BUFFER7;
        return askProperty(window, name == kNoAtom ? kOfRootAlone : name, type);
    };
    return {.window = window,
            .attributes = xcb_get_window_attributes(connection, window),
            .geometry = xcb_get_geometry(connection, window),
            .place = xcb_translate_coordinates(connection, window, root, 0, 0),
            .types = property(atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM),
            .shadow = property(atom(kShadowProperty), XCB_ATOM_CARDINAL),
            .modernTitle = property(atom("_NET_WM_NAME"), XCB_GET_PROPERTY_TYPE_ANY),
            .title = property(XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY),
            .windowClass = property(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING),
            .process = property(atom("_NET_WM_PID"), XCB_ATOM_CARDINAL)};
}

std::optional<X11Window> X11WindowQuestions::answer(const Asked& asked) {
    const auto property = [&](xcb_get_property_cookie_t cookie) {
        return XcbAnswer<xcb_get_property_reply_t>(xcb_get_property_reply(connection, cookie, nullptr));
    };
    // All of them, so that none is left behind.
    const XcbAnswer<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection, asked.attributes, nullptr));
    const XcbAnswer<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection, asked.geometry, nullptr));
    const XcbAnswer<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(connection, asked.place, nullptr));
    const auto types = property(asked.types);
    const auto shadow = property(asked.shadow);
    const auto modernTitle = property(asked.modernTitle);
    const auto title = property(asked.title);
    const auto windowClass = property(asked.windowClass);
    const auto process = numbersOf(property(asked.process).get());
    if (!attributes || !geometry || !place || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
        return std::nullopt;
    X11Window window{.id = asked.window,
                     .kind = kindOf(numbersOf(types.get()), attributes->override_redirect != 0),
                     .frame = withoutShadow(numbersOf(shadow.get()),
                                            {place->dst_x, place->dst_y, geometry->width, geometry->height}),
                     .application = classOf(windowClass.get())};
    window.isOnScreen =
        attributes->map_state == XCB_MAP_STATE_VIEWABLE && !intersection(window.frame, desktop).isEmpty();
    for (const auto* const text : {modernTitle.get(), title.get()}) {
        if (!text || text->type == XCB_ATOM_NONE) continue;
        window.title = textOf(*text);
        break;
    }
    if (!process.empty()) window.process = static_cast<int32_t>(process.front());
    return window;
}

X11Window::Kind X11WindowQuestions::kindOf(const std::vector<uint32_t>& types, bool isUnmanaged) const {
    const auto is = [&](const char* name) {
        const xcb_atom_t type = atom(name);
        return type != XCB_ATOM_NONE && std::ranges::find(types, type) != types.end();
    };
    if (is("_NET_WM_WINDOW_TYPE_DESKTOP")) return X11Window::Kind::desktop;
    if (is("_NET_WM_WINDOW_TYPE_DOCK")) return X11Window::Kind::dock;
    if (isUnmanaged || std::ranges::any_of(kPassingTypes, is)) return X11Window::Kind::passing;
    return X11Window::Kind::ordinary;
}

/// The first string, in UTF-8 whatever it is in.
std::string X11WindowQuestions::textOf(const xcb_get_property_reply_t& property) const {
    std::string bytes = bytesOf(property);
    XTextProperty text{reinterpret_cast<unsigned char*>(bytes.data()), property.type, property.format,
                       property.value_len};
    char** list = nullptr;
    int count = 0;
    std::string first;
    if (Xutf8TextPropertyToTextList(display.get(), &text, &list, &count) >= Success && list) {
        if (count > 0) first = list[0];
        XFreeStringList(list);
    }
    return first;
}

PixelRect withoutShadow(const std::vector<uint32_t>& extents, PixelRect frame) {
    if (extents.size() != 4) return frame;
    const auto most = static_cast<uint32_t>(std::max(frame.width, frame.height));
    if (std::ranges::any_of(extents, [most](uint32_t side) { return side > most; })) return frame;
    const auto side = [&](size_t index) { return static_cast<int>(extents[index]); };
    const PixelRect rest{frame.x + side(0), frame.y + side(2), frame.width - side(0) - side(1),
                         frame.height - side(2) - side(3)};
    return rest.isEmpty() ? frame : rest;
}

} // namespace vintra
