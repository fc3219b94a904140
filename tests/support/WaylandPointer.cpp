// A mouse for the Wayland end-to-end tests: a headless compositor has no pointer device, so this
// client makes one through wlroots' virtual-pointer protocol (zwlr_virtual_pointer_manager_v1,
// which sway offers) and drags or clicks with it, in layout coordinates:
//   wayland_pointer drag X1 Y1 X2 Y2 LAYOUT_W LAYOUT_H
//   wayland_pointer click X Y LAYOUT_W LAYOUT_H
// The protocol's two interfaces are declared here by hand (only the requests used), so the test
// needs nothing beyond libwayland-client.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <wayland-client.h>

namespace {

const wl_interface* pointerTypes[] = {nullptr, nullptr, nullptr, nullptr, nullptr};
const wl_message pointerRequests[] = {
    {"motion", "uff", pointerTypes}, {"motion_absolute", "uuuuu", pointerTypes},
    {"button", "uuu", pointerTypes}, {"axis", "uuf", pointerTypes},
    {"frame", "", pointerTypes},
};
const wl_interface virtualPointer = {"zwlr_virtual_pointer_v1", 1, 5, pointerRequests, 0, nullptr};
const wl_interface* createTypes[] = {&wl_seat_interface, &virtualPointer};
const wl_message managerRequests[] = {{"create_virtual_pointer", "?on", createTypes}};
const wl_interface pointerManager = {
    "zwlr_virtual_pointer_manager_v1", 1, 1, managerRequests, 0, nullptr};

enum Request : uint32_t { motionAbsolute = 1, button = 2, frame = 4 };
constexpr uint32_t leftButton = 0x110; // BTN_LEFT

struct Globals {
    wl_seat* seat = nullptr;
    wl_proxy* manager = nullptr;
};

void global(void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t) {
    auto* globals = static_cast<Globals*>(data);
    if (std::strcmp(interface, wl_seat_interface.name) == 0 && !globals->seat) {
        globals->seat =
            static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (std::strcmp(interface, pointerManager.name) == 0) {
        globals->manager =
            static_cast<wl_proxy*>(wl_registry_bind(registry, name, &pointerManager, 1));
    }
}
void globalRemoved(void*, wl_registry*, uint32_t) {}
const wl_registry_listener registryListener = {global, globalRemoved};

uint32_t now() {
    using namespace std::chrono;
    return uint32_t(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

struct Pointer {
    wl_display* display;
    wl_proxy* proxy;
    uint32_t width, height;

    void send(uint32_t opcode, auto... args) {
        wl_proxy_marshal_flags(proxy, opcode, nullptr, 1, 0, args...);
    }
    void moveTo(int x, int y) {
        send(motionAbsolute, now(), uint32_t(x), uint32_t(y), width, height);
        send(frame);
        settle();
    }
    void press(bool down) {
        send(button, now(), leftButton, uint32_t(down ? 1 : 0));
        send(frame);
        settle();
    }
    void settle() {
        wl_display_roundtrip(display);
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
    }
};

} // namespace

int main(int argc, char** argv) {
    const std::string verb = argc > 1 ? argv[1] : "";
    if (!((verb == "drag" && argc == 8) || (verb == "click" && argc == 6))) {
        std::fprintf(stderr, "usage: wayland_pointer drag X1 Y1 X2 Y2 LAYOUT_W LAYOUT_H\n"
                             "       wayland_pointer click X Y LAYOUT_W LAYOUT_H\n");
        return 2;
    }
    wl_display* display = wl_display_connect(nullptr);
    if (!display) {
        std::fprintf(stderr, "wayland_pointer: no Wayland display\n");
        return 1;
    }
    Globals globals;
    wl_registry_add_listener(wl_display_get_registry(display), &registryListener, &globals);
    wl_display_roundtrip(display);
    if (!globals.manager) {
        std::fprintf(stderr, "wayland_pointer: the compositor offers no virtual pointers\n");
        return 1;
    }
    auto* proxy =
        wl_proxy_marshal_flags(globals.manager, 0, &virtualPointer, 1, 0, globals.seat, nullptr);
    const int n = argc - 2;
    Pointer pointer{display, proxy, uint32_t(std::atoi(argv[argc - 2])),
                    uint32_t(std::atoi(argv[argc - 1]))};
    const int x1 = std::atoi(argv[2]), y1 = std::atoi(argv[3]);
    pointer.moveTo(x1, y1);
    pointer.press(true);
    if (verb == "drag" && n == 6) {
        const int x2 = std::atoi(argv[4]), y2 = std::atoi(argv[5]);
        // In steps, as a hand moves: the client sees motion with the button held.
        for (int step = 1; step <= 5; ++step) {
            pointer.moveTo(x1 + (x2 - x1) * step / 5, y1 + (y2 - y1) * step / 5);
        }
    }
    pointer.press(false);
    wl_display_disconnect(display);
    return 0;
}
