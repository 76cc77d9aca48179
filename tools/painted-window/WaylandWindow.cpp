#include "tools/painted-window/WaylandWindow.h"

#include "xdg-output-unstable-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <wayland-client.h>

namespace vintra {
namespace {

/// Shared memory of one picture.
struct Buffer {
    wl_buffer* buffer = nullptr;
    uint32_t* pixels = nullptr;
    size_t bytes = 0;
    int width = 0;
    bool isBusy = false;

    void release() {
        if (buffer) wl_buffer_destroy(buffer);
        if (pixels) munmap(pixels, bytes);
        *this = {};
    }
};

constexpr wl_buffer_listener kBufferListener = {
    .release = [](void* data, wl_buffer*) { static_cast<Buffer*>(data)->isBusy = false; }};

struct Output {
    wl_output* output = nullptr;
    zxdg_output_v1* logical = nullptr; // names it where the output itself is too old for that
    std::string name;

    ~Output() {
        if (logical) zxdg_output_v1_destroy(logical);
        wl_output_destroy(output);
    }
};

constexpr wl_output_listener kOutputListener = {
    .geometry = [](void*, wl_output*, int32_t, int32_t, int32_t, int32_t, int32_t, const char*, const char*,
                   int32_t) {},
    .mode = [](void*, wl_output*, uint32_t, int32_t, int32_t, int32_t) {},
    .done = [](void*, wl_output*) {},
    .scale = [](void*, wl_output*, int32_t) {},
    .name = [](void* data, wl_output*, const char* name) { static_cast<Output*>(data)->name = name; },
    .description = [](void*, wl_output*, const char*) {},
};
constexpr zxdg_output_v1_listener kLogicalOutputListener = {
    .logical_position = [](void*, zxdg_output_v1*, int32_t, int32_t) {},
    .logical_size = [](void*, zxdg_output_v1*, int32_t, int32_t) {},
    .done = [](void*, zxdg_output_v1*) {},
    .name = [](void* data, zxdg_output_v1*, const char* name) { static_cast<Output*>(data)->name = name; },
    .description = [](void*, zxdg_output_v1*, const char*) {},
};

} // namespace

struct WaylandWindow::Client {
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    wl_compositor* compositor = nullptr;
    wl_shm* memory = nullptr;
    xdg_wm_base* shell = nullptr;
    zxdg_output_manager_v1* logicalOutputs = nullptr;
    std::vector<std::unique_ptr<Output>> outputs;
    uint32_t seatID = 0;
    wl_seat* seat = nullptr;
    wl_pointer* pointer = nullptr;
    wl_surface* pointerSurface = nullptr;
    Buffer pointerBuffer;
    wl_surface* surface = nullptr;
    xdg_surface* shellSurface = nullptr;
    xdg_toplevel* toplevel = nullptr;
    bool isConfigured = false;
    int configuredWidth = 0;
    int configuredHeight = 0;
    int width = 0;
    int height = 0;
    std::vector<uint32_t> canvas;
    std::vector<Box> damage;
    std::array<Buffer, 3> buffers;

    static Client& self(void* data) { return *static_cast<Client*>(data); }
    void announced(uint32_t id, std::string_view interface, uint32_t version);
    bool open(const std::string& outputName);
    wl_output* namedOutput(const std::string& name);
    void adoptSize();
    Buffer* freeBuffer();
    void makeBuffer(Buffer& buffer) { makeBuffer(buffer, width, height, WL_SHM_FORMAT_XRGB8888); }
    void makeBuffer(Buffer& buffer, int bufferWidth, int bufferHeight, uint32_t format);
    void givePointer(int side, uint32_t colour);
    void commit(wl_callback** frame);
    void close();

    static const wl_registry_listener registryListener;
    static const xdg_wm_base_listener shellListener;
    static const xdg_surface_listener surfaceListener;
    static const xdg_toplevel_listener toplevelListener;
    static const wl_seat_listener seatListener;
    static const wl_pointer_listener pointerListener;
};

const wl_registry_listener WaylandWindow::Client::registryListener = {
    .global = [](void* data, wl_registry*, uint32_t id, const char* interface,
                 uint32_t version) { self(data).announced(id, interface, version); },
    .global_remove = [](void*, wl_registry*, uint32_t) {},
};
const xdg_wm_base_listener WaylandWindow::Client::shellListener = {
    .ping = [](void*, xdg_wm_base* pinged, uint32_t serial) { xdg_wm_base_pong(pinged, serial); }};
const xdg_surface_listener WaylandWindow::Client::surfaceListener = {
    .configure = [](void* data, xdg_surface* configured, uint32_t serial) {
        xdg_surface_ack_configure(configured, serial);
        self(data).isConfigured = true;
    }};
const xdg_toplevel_listener WaylandWindow::Client::toplevelListener = {
    .configure =
        [](void* data, xdg_toplevel*, int32_t newWidth, int32_t newHeight, wl_array*) {
            self(data).configuredWidth = newWidth;
            self(data).configuredHeight = newHeight;
        },
    .close = [](void*, xdg_toplevel*) {},
    .configure_bounds = [](void*, xdg_toplevel*, int32_t, int32_t) {},
    .wm_capabilities = [](void*, xdg_toplevel*, wl_array*) {},
};

/// There is a pointer as long as some device moves one. Both are of version 1.
const wl_seat_listener WaylandWindow::Client::seatListener = {
    .capabilities =
        [](void* data, wl_seat* changed, uint32_t capabilities) {
            wl_pointer*& held = self(data).pointer;
            const bool isThere = (capabilities & WL_SEAT_CAPABILITY_POINTER) != 0;
            if (isThere == (held != nullptr)) return;
            if (!isThere) {
                wl_pointer_destroy(std::exchange(held, nullptr));
                return;
            }
            held = wl_seat_get_pointer(changed);
            wl_pointer_add_listener(held, &pointerListener, data);
        },
    .name = [](void*, wl_seat*, const char*) {},
};
const wl_pointer_listener WaylandWindow::Client::pointerListener = {
    .enter = [](void* data, wl_pointer* entered, uint32_t serial, wl_surface*, wl_fixed_t,
                wl_fixed_t) { wl_pointer_set_cursor(entered, serial, self(data).pointerSurface, 0, 0); },
    .leave = [](void*, wl_pointer*, uint32_t, wl_surface*) {},
    .motion = [](void*, wl_pointer*, uint32_t, wl_fixed_t, wl_fixed_t) {},
    .button = [](void*, wl_pointer*, uint32_t, uint32_t, uint32_t, uint32_t) {},
    .axis = [](void*, wl_pointer*, uint32_t, uint32_t, wl_fixed_t) {},
};

void WaylandWindow::Client::announced(uint32_t id, std::string_view interface, uint32_t version) {
    if (interface == wl_compositor_interface.name) {
        compositor = static_cast<wl_compositor*>(wl_registry_bind(registry, id, &wl_compositor_interface, 4));
    } else if (interface == wl_shm_interface.name) {
        memory = static_cast<wl_shm*>(wl_registry_bind(registry, id, &wl_shm_interface, 1));
    } else if (interface == xdg_wm_base_interface.name) {
        shell = static_cast<xdg_wm_base*>(wl_registry_bind(registry, id, &xdg_wm_base_interface, 1));
        xdg_wm_base_add_listener(shell, &shellListener, this);
    } else if (interface == zxdg_output_manager_v1_interface.name) {
        logicalOutputs = static_cast<zxdg_output_manager_v1*>(
            wl_registry_bind(registry, id, &zxdg_output_manager_v1_interface, std::min(version, 3u)));
    } else if (interface == wl_seat_interface.name && seatID == 0) {
        seatID = id;
    } else if (interface == wl_output_interface.name) {
        outputs.push_back(std::make_unique<Output>());
        outputs.back()->output = static_cast<wl_output*>(
            wl_registry_bind(registry, id, &wl_output_interface, std::min(version, 4u)));
        wl_output_add_listener(outputs.back()->output, &kOutputListener, outputs.back().get());
    }
}

bool WaylandWindow::Client::open(const std::string& outputName) {
    display = wl_display_connect(nullptr);
    if (!display) return false;
    registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, this);
    wl_display_roundtrip(display);
    if (!compositor || !memory || !shell) return false;
    surface = wl_compositor_create_surface(compositor);
    shellSurface = xdg_wm_base_get_xdg_surface(shell, surface);
    xdg_surface_add_listener(shellSurface, &surfaceListener, this);
    toplevel = xdg_surface_get_toplevel(shellSurface);
    xdg_toplevel_add_listener(toplevel, &toplevelListener, this);
    xdg_toplevel_set_title(toplevel, "Painted Window");
    xdg_toplevel_set_fullscreen(toplevel, namedOutput(outputName));
    wl_surface_commit(surface);
    while (!isConfigured) {
        if (wl_display_dispatch(display) < 0) return false;
    }
    // A compositor may say how large a window is to be only once it is there.
    if (configuredWidth == 0) {
        configuredWidth = configuredHeight = 64;
        commit(nullptr);
        configuredWidth = 0;
    }
    while (configuredWidth == 0) {
        if (wl_display_dispatch(display) < 0) return false;
    }
    return true;
}

/// Null if there is none of that name.
wl_output* WaylandWindow::Client::namedOutput(const std::string& name) {
    for (const auto& output : outputs) {
        if (!logicalOutputs) break;
        output->logical = zxdg_output_manager_v1_get_xdg_output(logicalOutputs, output->output);
        zxdg_output_v1_add_listener(output->logical, &kLogicalOutputListener, output.get());
    }
    wl_display_roundtrip(display);
    const auto found = std::find_if(outputs.begin(), outputs.end(), [&name](const auto& each) {
        return !name.empty() && each->name == name;
    });
    return found == outputs.end() ? nullptr : (*found)->output;
}

void WaylandWindow::Client::adoptSize() {
    if (configuredWidth <= 0 || (configuredWidth == width && configuredHeight == height)) return;
    width = configuredWidth;
    height = configuredHeight;
    canvas.assign(static_cast<size_t>(width) * static_cast<size_t>(height), 0);
    damage = {{0, 0, width, height}};
}

void WaylandWindow::Client::makeBuffer(Buffer& buffer, int bufferWidth, int bufferHeight, uint32_t format) {
    buffer.release();
    const int stride = bufferWidth * 4;
    buffer.bytes = static_cast<size_t>(stride) * static_cast<size_t>(bufferHeight);
    buffer.width = bufferWidth;
    const int descriptor = memfd_create("painted-window", MFD_CLOEXEC);
    if (ftruncate(descriptor, static_cast<off_t>(buffer.bytes)) != 0) return;
    buffer.pixels = static_cast<uint32_t*>(
        mmap(nullptr, buffer.bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0));
    wl_shm_pool* const pool = wl_shm_create_pool(memory, descriptor, static_cast<int>(buffer.bytes));
    buffer.buffer = wl_shm_pool_create_buffer(pool, 0, bufferWidth, bufferHeight, stride, format);
    wl_shm_pool_destroy(pool);
    ::close(descriptor);
    wl_buffer_add_listener(buffer.buffer, &kBufferListener, &buffer);
}

Buffer* WaylandWindow::Client::freeBuffer() {
    while (true) {
        for (Buffer& buffer : buffers) {
            if (buffer.isBusy) continue;
            if (buffer.bytes != canvas.size() * 4 || buffer.width != width) makeBuffer(buffer);
            return &buffer;
        }
        if (wl_display_dispatch(display) < 0) return nullptr;
    }
}

void WaylandWindow::Client::commit(wl_callback** frame) {
    adoptSize();
    Buffer* const buffer = freeBuffer();
    if (!buffer || !buffer->pixels) return;
    std::memcpy(buffer->pixels, canvas.data(), canvas.size() * 4);
    wl_surface_attach(surface, buffer->buffer, 0, 0);
    for (const Box& box : damage)
        wl_surface_damage_buffer(surface, box.x, box.y, box.width, box.height);
    damage.clear();
    if (frame) *frame = wl_surface_frame(surface);
    buffer->isBusy = true;
    wl_surface_commit(surface);
}

void WaylandWindow::Client::givePointer(int side, uint32_t colour) {
    if (seatID == 0 || pointerSurface) return;
    constexpr uint32_t kOpaque = 0xff000000;
    makeBuffer(pointerBuffer, side, side, WL_SHM_FORMAT_ARGB8888);
    if (!pointerBuffer.pixels) return;
    std::fill_n(pointerBuffer.pixels, pointerBuffer.bytes / 4, colour | kOpaque);
    pointerSurface = wl_compositor_create_surface(compositor);
    wl_surface_attach(pointerSurface, pointerBuffer.buffer, 0, 0);
    wl_surface_damage_buffer(pointerSurface, 0, 0, side, side);
    wl_surface_commit(pointerSurface);
    // Bound only now, so that it tells now what it has.
    seat = static_cast<wl_seat*>(wl_registry_bind(registry, seatID, &wl_seat_interface, 1));
    wl_seat_add_listener(seat, &seatListener, this);
    wl_display_roundtrip(display);
}

void WaylandWindow::Client::close() {
    if (pointer) wl_pointer_destroy(pointer);
    if (pointerSurface) wl_surface_destroy(pointerSurface);
    if (seat) wl_seat_destroy(seat);
    pointerBuffer.release();
    for (Buffer& buffer : buffers)
        buffer.release();
    if (toplevel) xdg_toplevel_destroy(toplevel);
    if (shellSurface) xdg_surface_destroy(shellSurface);
    if (surface) wl_surface_destroy(surface);
    outputs.clear();
    if (logicalOutputs) zxdg_output_manager_v1_destroy(logicalOutputs);
    if (shell) xdg_wm_base_destroy(shell);
    if (memory) wl_shm_destroy(memory);
    if (compositor) wl_compositor_destroy(compositor);
    if (registry) wl_registry_destroy(registry);
    if (display) {
        wl_display_roundtrip(display);
        wl_display_disconnect(display);
    }
}

WaylandWindow::WaylandWindow(const std::string& outputName)
    : client(std::make_unique<Client>()) {
    if (client->open(outputName)) {
        // The first frame may still be that of the place before; the compositor is done moving by the third.
        for (int frame = 0; frame < 3; ++frame)
            showAndAwaitFrame();
        return;
    }
    client->close();
    client.reset();
}

WaylandWindow::~WaylandWindow() {
    if (client) client->close();
}

bool WaylandWindow::isOpen() const {
    return client != nullptr;
}

int WaylandWindow::width() const {
    return client->width;
}

int WaylandWindow::height() const {
    return client->height;
}

uint32_t* WaylandWindow::row(int y) {
    return client->canvas.data() + static_cast<size_t>(y) * static_cast<size_t>(client->width);
}

void WaylandWindow::touched(Box box) {
    client->damage.push_back(box);
}

void WaylandWindow::fill(Box box, uint32_t colour) {
    const int left = std::clamp(box.x, 0, width());
    const int right = std::clamp(box.x + box.width, left, width());
    const int top = std::clamp(box.y, 0, height());
    const int bottom = std::clamp(box.y + box.height, top, height());
    for (int y = top; y < bottom; ++y)
        std::fill(row(y) + left, row(y) + right, colour);
    if (right > left && bottom > top) touched({left, top, right - left, bottom - top});
}

void WaylandWindow::show() {
    client->commit(nullptr);
    wl_display_roundtrip(client->display);
}

void WaylandWindow::givePointer(int side, uint32_t colour) {
    client->givePointer(side, colour);
}

void WaylandWindow::handleEvents() {
    wl_display_roundtrip(client->display);
}

void WaylandWindow::showAndAwaitFrame() {
    bool isDone = false;
    static constexpr wl_callback_listener listener = {
        .done = [](void* data, wl_callback*, uint32_t) { *static_cast<bool*>(data) = true; }};
    wl_callback* callback = nullptr;
    client->commit(&callback);
    if (!callback) return;
    wl_callback_add_listener(callback, &listener, &isDone);
    while (!isDone && wl_display_dispatch(client->display) >= 0) {
    }
    wl_callback_destroy(callback);
}

} // namespace vintra
