#include "library/ordered_reading.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "documents/json_access.h"
#include "documents/json_file.h"
#include "shared/utf8_path.h"

namespace quillon {
namespace {

using nlohmann::json;

/// How much may wait, read, for a slower entry ahead of it: enough to keep the other threads busy
/// behind a file of a hundred megabytes, little beside any library for which memory matters.
constexpr std::size_t maxWaitingBytes = std::size_t{32} << 20U;
constexpr std::size_t maxWaitingEntries = 1024;

std::size_t bytesOf(const ReadEntry& entry) {
    return entry.drawing.shapes.capacityBytes() + entry.drawing.texts.capacityBytes();
}

/// An exception would end the process from inside a thread, so none leaves.
ReadEntry readOrFail(const json& files, std::size_t index, ReadBuffers& buffers) noexcept {
    try {
        return readEntry(elementOf(files, index), buffers);
    } catch (...) {
        ReadEntry failed;
        failed.failure = std::current_exception();
        return failed;
    }
}

/// Whether the machine is to blame for the failure, not the file.
bool isRefusal(const std::exception_ptr& failure) noexcept {
    try {
        if (failure) {
            std::rethrow_exception(failure);
        }
    } catch (const std::bad_alloc&) {
        return true;
    } catch (const OpenRefused&) {
        return true;
    } catch (...) {
        return false;
    }
    return false;
}

/// Several threads that read, and the state that they share, all under one mutex. Entries are taken
/// in list order, so the one that the others wait for is always being read already. What a thread
/// needs to hand an entry over is there before it reads: nothing can fail on the way.
class SideBySideReading {
  public:
    explicit SideBySideReading(const json& listedFiles) : files(listedFiles) {
        const std::size_t threadCount =
            std::min<std::size_t>(std::thread::hardware_concurrency(), files.size());
        waiting.resize(std::min(files.size(), maxWaitingEntries));
        threads.reserve(threadCount);
        try {
            for (std::size_t i = 1; i < threadCount; ++i) {
                threads.emplace_back([this]() noexcept { readAll(); });
            }
        } catch (const std::exception&) {
            // Fewer threads only read more slowly.
        }
    }

    SideBySideReading(const SideBySideReading&) = delete;
    SideBySideReading& operator=(const SideBySideReading&) = delete;

    /// Ends the threads, whatever the reason for leaving.
    ~SideBySideReading() {
        {
            const std::lock_guard lock(mutex);
            isStopped = true;
        }
        changed.notify_all();
    }

    /// Returns how many entries have been consumed: all, or those ahead of the first refused one.
    std::size_t consumeAll(const std::function<void(ReadEntry&&)>& consume) {
        ReadBuffers buffers;
        std::unique_lock lock(mutex);
        while (consumed < files.size()) {
            WaitingEntry& first = waiting[consumed % waiting.size()];
            if (first.state == State::refused) {
                break;
            }
            if (first.state == State::read) {
                ReadEntry entry = std::move(first.entry);
                first.state = State::missing;
                waitingBytes -= bytesOf(entry);
                ++consumed;
                lock.unlock();
                changed.notify_all();
                consume(std::move(entry));
                lock.lock();
            } else if (mayRead()) {
                readNext(lock, buffers);
            } else {
                changed.wait(lock, [&] { return first.state != State::missing; });
            }
        }
        return consumed;
    }

  private:
    enum class State { missing, read, refused };

    struct WaitingEntry {
        State state = State::missing;
        ReadEntry entry;
    };

    bool isOver() const { return isStopped || next == files.size(); }
    bool mayRead() const {
        return !isOver() && next - consumed < waiting.size() && waitingBytes <= maxWaitingBytes;
    }

    /// Reads until the last entry is taken.
    void readAll() {
        ReadBuffers buffers;
        std::unique_lock lock(mutex);
        while (!isOver()) {
            if (mayRead()) {
                readNext(lock, buffers);
            } else {
                changed.wait(lock);
            }
        }
    }

    void readNext(std::unique_lock<std::mutex>& lock, ReadBuffers& buffers) {
        const std::size_t index = next++;
        lock.unlock();
        ReadEntry entry = readOrFail(files, index, buffers);
        const State state = isRefusal(entry.failure) ? State::refused : State::read;
        lock.lock();
        waitingBytes += bytesOf(entry);
        WaitingEntry& place = waiting[index % waiting.size()];
        place.entry = std::move(entry);
        place.state = state;
        isStopped = isStopped || state == State::refused;
        changed.notify_all();
    }

    const json& files;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t next = 0;               // the first entry that nobody has taken
    std::size_t consumed = 0;           // those ahead of it have been handed over
    std::vector<WaitingEntry> waiting;  // entry i, taken and not yet consumed, at i modulo its size
    std::size_t waitingBytes = 0;
    bool isStopped = false;             // no further entry is to be taken
    std::vector<std::jthread> threads;  // joined before anything that they use is gone
};

}  // namespace

ReadEntry readEntry(const json& entry, ReadBuffers& buffers) {
    ReadEntry result;
    result.path =
        std::make_shared<const std::filesystem::path>(pathFromUtf8(entry.get<std::string>()));
    result.drawing = readDrawing(*result.path, buffers);
    return result;
}

void readInOrder(const json& files, const std::function<void(ReadEntry&&)>& consume) {
    std::size_t index = SideBySideReading(files).consumeAll(consume);
    ReadBuffers buffers;
    for (; index < files.size(); ++index) {
        consume(readOrFail(files, index, buffers));
    }
}

}  // namespace quillon
