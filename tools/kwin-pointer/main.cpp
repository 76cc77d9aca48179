// Moves KWin's pointer by points: kwin-pointer DX DY [DX DY ...]
// Says "moved" then, and stays until it is ended: KWin's seat has a pointer as long as something that moves it is there.
//
// KWin lets a program do so that has a desktop file which asks for it, and reads all of the program for that whenever it
// connects. So this is a small program of its own.

#include "fake-input-client-protocol.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <wayland-client.h>

namespace {

constexpr wl_registry_listener kListener = {
    .global =
        [](void* data, wl_registry* registry, uint32_t id, const char* interface, uint32_t) {
            if (std::string_view(interface) != org_kde_kwin_fake_input_interface.name) return;
            *static_cast<org_kde_kwin_fake_input**>(data) = static_cast<org_kde_kwin_fake_input*>(
                wl_registry_bind(registry, id, &org_kde_kwin_fake_input_interface, 1));
        },
    .global_remove = [](void*, wl_registry*, uint32_t) {},
};

} // namespace

int main(int count, char** arguments) {
    wl_display* const display = wl_display_connect(nullptr);
    if (!display || count < 3 || count % 2 == 0) {
        std::fprintf(stderr, "usage: kwin-pointer DX DY [DX DY ...], on KDE's desktop\n");
        return 2;
    }
    org_kde_kwin_fake_input* input = nullptr;
    wl_registry* const registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &kListener, &input);
    wl_display_roundtrip(display);
    if (input) {
        org_kde_kwin_fake_input_authenticate(input, "kwin-pointer", "moves the pointer for a test");
        for (int i = 1; i < count; i += 2)
            org_kde_kwin_fake_input_pointer_motion(input, wl_fixed_from_double(std::atof(arguments[i])),
                                                   wl_fixed_from_double(std::atof(arguments[i + 1])));
        wl_display_roundtrip(display);
        std::puts("moved");
        std::fflush(stdout);
        while (wl_display_dispatch(display) >= 0) {
        }
        wl_proxy_destroy(reinterpret_cast<wl_proxy*>(input));
    } else {
        std::fprintf(stderr, "KWin lets no pointer be moved here.\n");
    }
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
    return input ? 0 : 1;
}
