#include "library/ordered_reading.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "documents/json_access.h"
#include "shared/utf8_path.h"

namespace quillon {
namespace {

using nlohmann::json;

/// How much may wait, read, for a slower entry ahead of it: enough to keep the other threads busy
/// behind a file of a hundred megabytes, little beside any library for which memory matters.
constexpr std::size_t maxWaitingBytes = std::size_t{32} << 20U;

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

/// The state that the reading threads share, all under one mutex. Entries are taken in list order,
/// so the one that the others wait for is always being read already.
class OrderedReading {
  public:
    explicit OrderedReading(const json& listedFiles) : files(listedFiles) {}

    /// Reads until the last entry is taken; one of these runs on each further thread.
    void readAll() {
        ReadBuffers buffers;
        std::unique_lock lock(mutex);
        while (true) {
            changed.wait(lock, [&] { return allTaken() || mayRead(); });
            if (allTaken()) {
                return;
            }
            readNext(lock, buffers);
        }
    }

    void consumeAll(const std::function<void(ReadEntry&&)>& consume) {
        ReadBuffers buffers;
        std::unique_lock lock(mutex);
        for (std::size_t index = 0; index < files.size();) {
            if (const auto found = waiting.find(index); found != waiting.end()) {
                ReadEntry entry = std::move(found->second);
                waiting.erase(found);
                waitingBytes -= bytesOf(entry);
                lock.unlock();
                changed.notify_all();
                consume(std::move(entry));
                lock.lock();
                ++index;
            } else if (!allTaken() && mayRead()) {
                readNext(lock, buffers);
            } else {
                changed.wait(lock, [&] { return waiting.count(index) != 0; });
            }
        }
    }

  private:
    bool allTaken() const { return next == files.size(); }
    bool mayRead() const { return waitingBytes <= maxWaitingBytes; }

    void readNext(std::unique_lock<std::mutex>& lock, ReadBuffers& buffers) {
        const std::size_t index = next++;
        lock.unlock();
        ReadEntry entry = readOrFail(files, index, buffers);
        lock.lock();
        waitingBytes += bytesOf(entry);
        waiting.emplace(index, std::move(entry));
        changed.notify_all();
    }

    const json& files;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t next = 0;                      // the first entry that nobody has taken
    std::map<std::size_t, ReadEntry> waiting;  // read, not yet consumed
    std::size_t waitingBytes = 0;
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
    OrderedReading reading(files);
    const std::size_t threadCount =
        std::min<std::size_t>(std::thread::hardware_concurrency(), files.size());
    std::vector<std::jthread> threads;
    try {
        for (std::size_t i = 1; i < threadCount; ++i) {
            threads.emplace_back([&] { reading.readAll(); });
        }
    } catch (const std::system_error&) {
        // Fewer threads only read more slowly.
    }
    reading.consumeAll(consume);
}

}  // namespace quillon
