// Times what a person waits for, from the X server's side: runs a command and prints the
// milliseconds until a top-level window at least MIN_W × MIN_H is mapped (map mode), or until
// a new PNG file matching a pattern is complete on disk (file mode), then the command's PID. The
// watch is armed before the command starts, so no map is missed. usage: window_watch map MIN_W
// MIN_H TIMEOUT_MS -- command [args...]
//        window_watch file PATTERN TIMEOUT_MS -- command [args...]   (a glob(7) pattern)
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <glob.h>
#include <memory>
#include <poll.h>
#include <set>
#include <string>
#include <thread>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {

using Clock = std::chrono::steady_clock;

pid_t launch(char** argv) {
    const pid_t pid = fork();
    if (pid == 0) {
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
        setsid(); // lives on after the watch; the script stops it by PID
        execvp(argv[0], argv);
        _exit(127);
    }
    return pid;
}

double since(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

bool bigEnough(xcb_connection_t* x, xcb_window_t window, int minWidth, int minHeight) {
    std::unique_ptr<xcb_get_geometry_reply_t, decltype(&free)> geometry(
        xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr), &free);
    return geometry && geometry->width >= minWidth && geometry->height >= minHeight;
}

int watchMap(int minWidth, int minHeight, int timeoutMs, char** command) {
    xcb_connection_t* x = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(x)) {
        std::fprintf(stderr, "no X display\n");
        return 2;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_request_check(x, xcb_change_window_attributes_checked(x, root, XCB_CW_EVENT_MASK, &mask));
    const auto start = Clock::now();
    const pid_t pid = launch(command);
    pollfd fd{xcb_get_file_descriptor(x), POLLIN, 0};
    // Some windows map small and grow right after: a mapped window counts once it is big enough.
    std::set<xcb_window_t> mappedSmall;
    while (since(start) < timeoutMs) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(x)) {
            const int type = event->response_type & 0x7f;
            xcb_window_t window = 0;
            bool big = false;
            if (type == XCB_MAP_NOTIFY) {
                window = reinterpret_cast<xcb_map_notify_event_t*>(event)->window;
                big = bigEnough(x, window, minWidth, minHeight);
                if (!big) {
                    mappedSmall.insert(window);
                }
            } else if (type == XCB_CONFIGURE_NOTIFY) {
                const auto* configure = reinterpret_cast<xcb_configure_notify_event_t*>(event);
                big = mappedSmall.count(configure->window) && configure->width >= minWidth &&
                      configure->height >= minHeight;
            } else if (type == XCB_UNMAP_NOTIFY) {
                mappedSmall.erase(reinterpret_cast<xcb_unmap_notify_event_t*>(event)->window);
            }
            const double ms = since(start);
            free(event);
            if (big) {
                std::printf("%.1f %d\n", ms, pid);
                xcb_disconnect(x);
                return 0;
            }
        }
        poll(&fd, 1, 5);
    }
    std::printf("timeout %d\n", pid);
    xcb_disconnect(x);
    return 1;
}

// Complete: the file ends with the IEND chunk.
bool completePng(const char* path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file || file.tellg() < 12) {
        return false;
    }
    file.seekg(-8, std::ios::end);
    char tail[4] = {};
    file.read(tail, 4);
    return std::memcmp(tail, "IEND", 4) == 0;
}

std::set<std::string> matches(const char* pattern) {
    std::set<std::string> paths;
    glob_t found{};
    if (glob(pattern, 0, nullptr, &found) == 0) {
        paths.insert(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    globfree(&found);
    return paths;
}

int watchFile(const char* pattern, int timeoutMs, char** command) {
    const std::set<std::string> before = matches(pattern);
    const auto start = Clock::now();
    const pid_t pid = launch(command);
    while (since(start) < timeoutMs) {
        for (const std::string& path : matches(pattern)) {
            if (!before.count(path) && completePng(path.c_str())) {
                std::printf("%.1f %d\n", since(start), pid);
                return 0;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    std::printf("timeout %d\n", pid);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "map" && argc > 6 && std::strcmp(argv[5], "--") == 0) {
        return watchMap(std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]), argv + 6);
    }
    if (mode == "file" && argc > 5 && std::strcmp(argv[4], "--") == 0) {
        return watchFile(argv[2], std::atoi(argv[3]), argv + 5);
    }
    std::fprintf(stderr, "usage: window_watch map MIN_W MIN_H TIMEOUT_MS -- command...\n"
                         "       window_watch file PATTERN TIMEOUT_MS -- command...\n");
    return 2;
}
