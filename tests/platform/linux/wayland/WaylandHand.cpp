#include "tests/platform/linux/wayland/WaylandHand.h"

#include "virtual-input-client-protocol.h"

#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

namespace vintra {
namespace {

constexpr uint32_t kHandsLeftButton = 0x110; // of the kernel
constexpr std::string_view kKeymap =
    "xkb_keymap { xkb_keycodes { include \"evdev+aliases(qwerty)\" };"
    " xkb_types { include \"complete\" }; xkb_compat { include \"complete\" };"
    " xkb_symbols { include \"pc+us\" }; };";

} // namespace

struct WaylandHand::Client {
    Client() {
        display = wl_display_connect(nullptr);
        if (!display) return;
        registry = wl_display_get_registry(display);
        static constexpr wl_registry_listener listener = {
            .global =
                [](void* data, wl_registry* from, uint32_t id, const char* name, uint32_t) {
                    auto& self = *static_cast<Client*>(data);
                    const std::string_view interface = name;
                    const auto bind = [&](const wl_interface& known) {
                        return wl_registry_bind(from, id, &known, 1);
                    };
                    if (interface == wl_seat_interface.name && !self.seat)
                        self.seat = static_cast<wl_seat*>(bind(wl_seat_interface));
                    if (interface == zwlr_virtual_pointer_manager_v1_interface.name)
                        self.pointers = static_cast<zwlr_virtual_pointer_manager_v1*>(
                            bind(zwlr_virtual_pointer_manager_v1_interface));
                    if (interface == zwp_virtual_keyboard_manager_v1_interface.name)
                        self.keyboards = static_cast<zwp_virtual_keyboard_manager_v1*>(
                            bind(zwp_virtual_keyboard_manager_v1_interface));
                },
            .global_remove = [](void*, wl_registry*, uint32_t) {},
        };
        wl_registry_add_listener(registry, &listener, this);
        wl_display_roundtrip(display);
        if (!seat || !pointers || !keyboards) return;
        pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(pointers, seat);
        keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(keyboards, seat);
        const int file = memfd_create("keymap", MFD_CLOEXEC);
        const auto size = static_cast<uint32_t>(kKeymap.size() + 1);
        if (ftruncate(file, size) == 0 && write(file, kKeymap.data(), kKeymap.size()) > 0)
            zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file, size);
        wl_display_roundtrip(display);
        ::close(file);
    }
    ~Client() {
        if (!display) return;
        if (keyboard) zwp_virtual_keyboard_v1_destroy(keyboard);
        if (pointer) zwlr_virtual_pointer_v1_destroy(pointer);
        if (keyboards) wl_proxy_destroy(reinterpret_cast<wl_proxy*>(keyboards));
        if (pointers) zwlr_virtual_pointer_manager_v1_destroy(pointers);
        if (seat) wl_seat_destroy(seat);
        wl_registry_destroy(registry);
        wl_display_roundtrip(display);
        wl_display_disconnect(display);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void button(uint32_t state) {
        zwlr_virtual_pointer_v1_button(pointer, ++time, kHandsLeftButton, state);
        zwlr_virtual_pointer_v1_frame(pointer);
        wl_display_roundtrip(display);
    }

    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    wl_seat* seat = nullptr;
    zwlr_virtual_pointer_manager_v1* pointers = nullptr;
    zwp_virtual_keyboard_manager_v1* keyboards = nullptr;
    zwlr_virtual_pointer_v1* pointer = nullptr;
    zwp_virtual_keyboard_v1* keyboard = nullptr;
    uint32_t time = 0;
};

WaylandHand::WaylandHand()
    : client(std::make_unique<Client>()) {}

WaylandHand::~WaylandHand() = default;

bool WaylandHand::isThere() const {
    return client->pointer && client->keyboard;
}

void WaylandHand::move(int x, int y, int width, int height) {
    zwlr_virtual_pointer_v1_motion_absolute(client->pointer, ++client->time, static_cast<uint32_t>(x),
                                            static_cast<uint32_t>(y), static_cast<uint32_t>(width),
                                            static_cast<uint32_t>(height));
    zwlr_virtual_pointer_v1_frame(client->pointer);
    wl_display_roundtrip(client->display);
}

void WaylandHand::press() {
    client->button(WL_POINTER_BUTTON_STATE_PRESSED);
}

void WaylandHand::release() {
    client->button(WL_POINTER_BUTTON_STATE_RELEASED);
}

void WaylandHand::type(uint32_t key) {
    zwp_virtual_keyboard_v1_key(client->keyboard, ++client->time, key, WL_KEYBOARD_KEY_STATE_PRESSED);
    zwp_virtual_keyboard_v1_key(client->keyboard, ++client->time, key, WL_KEYBOARD_KEY_STATE_RELEASED);
    wl_display_roundtrip(client->display);
}

} // namespace vintra
