// Makes a local folder behave like a file share that is milliseconds away: a library to preload
// (LD_PRELOAD, Linux only), which delays each call that opens an encodings file, asks for its size,
// reads or closes it. All other files are left alone.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <thread>

namespace {

/// Which descriptors belong to encodings files. Higher ones are not delayed.
std::array<std::atomic<bool>, 4096> isShared{};

void roundTrip() {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

bool isOnShare(const char* path) {
    return std::strstr(path, "/.blocksMetadata/") != nullptr;
}

bool isOnShare(int descriptor) {
    return descriptor >= 0 && static_cast<std::size_t>(descriptor) < isShared.size() &&
           isShared[static_cast<std::size_t>(descriptor)];
}

int opened(const char* path, int descriptor) {
    if (isOnShare(path)) {
        roundTrip();
        if (descriptor >= 0 && static_cast<std::size_t>(descriptor) < isShared.size()) {
            isShared[static_cast<std::size_t>(descriptor)] = true;
        }
    }
    return descriptor;
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    static auto* const real = next<int(const char*, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return opened(path, real(path, flags, mode));
}

FILE* fopen64(const char* path, const char* mode) {
    static auto* const real = next<FILE*(const char*, const char*)>("fopen64");
    FILE* const file = real(path, mode);
    opened(path, file == nullptr ? -1 : fileno(file));
    return file;
}

int stat(const char* path, struct stat* status) noexcept {
    static auto* const real = next<int(const char*, struct stat*)>("stat");
    if (isOnShare(path)) {
        roundTrip();
    }
    return real(path, status);
}

int fstat(int descriptor, struct stat* status) noexcept {
    static auto* const real = next<int(int, struct stat*)>("fstat");
    if (isOnShare(descriptor)) {
        roundTrip();
    }
    return real(descriptor, status);
}

ssize_t read(int descriptor, void* bytes, std::size_t count) {
    static auto* const real = next<ssize_t(int, void*, std::size_t)>("read");
    if (isOnShare(descriptor)) {
        roundTrip();
    }
    return real(descriptor, bytes, count);
}

int close(int descriptor) {
    static auto* const real = next<int(int)>("close");
    if (isOnShare(descriptor)) {
        isShared[static_cast<std::size_t>(descriptor)] = false;
        roundTrip();
    }
    return real(descriptor);
}

int fclose(FILE* file) {
    static auto* const real = next<int(FILE*)>("fclose");
    const int descriptor = fileno(file);
    if (isOnShare(descriptor)) {
        isShared[static_cast<std::size_t>(descriptor)] = false;
        roundTrip();
    }
    return real(file);
}

}  // extern "C"
