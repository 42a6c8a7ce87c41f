#include "library/fetch_in_order.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <new>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>
#include <vector>

#include "documents/json_access.h"
#include "documents/json_file.h"

namespace quillon {
namespace {

using nlohmann::json;

std::size_t bytesOf(const ListedDrawing& drawing) {
    return drawing.blocks.shapes.capacityBytes() + drawing.blocks.texts.capacityBytes();
}

/// An exception would end the process from inside a thread, so none leaves.
ListedDrawing fetchOrFail(const json& files, std::size_t index, FetchBuffers& buffers) noexcept {
    try {
        return fetchDrawing(elementOf(files, index), buffers);
    } catch (...) {
        ListedDrawing failed;
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

/// Several threads that fetch, and the state that they share, all under one mutex. Drawings are
/// taken in list order, so the one that the others wait for is always being fetched already. What a
/// thread needs to hand a drawing over is there before it fetches: nothing can fail on the way.
class SideBySideFetching {
  public:
    explicit SideBySideFetching(const json& listedFiles) : files(listedFiles) {
        const std::size_t threadCount =
            std::min<std::size_t>(std::thread::hardware_concurrency(), files.size());
        waiting.resize(std::min(files.size(), maxWaitingDrawings));
        threads.reserve(threadCount);
        try {
            for (std::size_t i = 1; i < threadCount; ++i) {
                threads.emplace_back([this]() noexcept { fetchAll(); });
            }
        } catch (const std::exception&) {
            // Fewer threads only take longer.
        }
    }

    SideBySideFetching(const SideBySideFetching&) = delete;
    SideBySideFetching& operator=(const SideBySideFetching&) = delete;

    /// Ends the threads, whatever the reason for leaving.
    ~SideBySideFetching() {
        {
            const std::lock_guard lock(mutex);
            isStopped = true;
        }
        changed.notify_all();
    }

    /// Returns how many drawings have been consumed: all, or those ahead of the first refused one.
    std::size_t consumeAll(const std::function<void(ListedDrawing&&)>& consume) {
        FetchBuffers buffers;
        std::unique_lock lock(mutex);
        while (consumed < files.size()) {
            Place& first = waiting[consumed % waiting.size()];
            if (first.state == State::refused) {
                break;
            }
            if (first.state == State::fetched) {
                ListedDrawing drawing = std::move(first.drawing);
                first.state = State::missing;
                waitingBytes -= bytesOf(drawing);
                ++consumed;
                lock.unlock();
                changed.notify_all();
                consume(std::move(drawing));
                lock.lock();
            } else if (mayFetch()) {
                fetchNext(lock, buffers);
            } else {
                changed.wait(lock, [&] { return first.state != State::missing; });
            }
        }
        return consumed;
    }

  private:
    enum class State { missing, fetched, refused };

    struct Place {
        State state = State::missing;
        ListedDrawing drawing;
    };

    bool isOver() const { return isStopped || next == files.size(); }
    bool mayFetch() const {
        return !isOver() && next - consumed < waiting.size() && waitingBytes <= maxWaitingBytes;
    }

    /// Fetches until the last drawing is taken.
    void fetchAll() {
        FetchBuffers buffers;
        std::unique_lock lock(mutex);
        while (!isOver()) {
            if (mayFetch()) {
                fetchNext(lock, buffers);
            } else {
                changed.wait(lock);
            }
        }
    }

    void fetchNext(std::unique_lock<std::mutex>& lock, FetchBuffers& buffers) {
        const std::size_t index = next++;
        lock.unlock();
        ListedDrawing drawing = fetchOrFail(files, index, buffers);
        const State state = isRefusal(drawing.failure) ? State::refused : State::fetched;
        lock.lock();
        waitingBytes += bytesOf(drawing);
        Place& place = waiting[index % waiting.size()];
        place.drawing = std::move(drawing);
        place.state = state;
        isStopped = isStopped || state == State::refused;
        changed.notify_all();
    }

    const json& files;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t next = 0;        // the first drawing that nobody has taken
    std::size_t consumed = 0;    // those ahead of it have been handed over
    std::vector<Place> waiting;  // drawing i, taken and not yet consumed, at i modulo its size
    std::size_t waitingBytes = 0;
    bool isStopped = false;             // no further drawing is to be taken
    std::vector<std::jthread> threads;  // joined before anything that they use is gone
};

}  // namespace

void fetchInOrder(const json& files, const std::function<void(ListedDrawing&&)>& consume) {
    std::size_t index = SideBySideFetching(files).consumeAll(consume);
    FetchBuffers buffers;
    for (; index < files.size(); ++index) {
        consume(fetchOrFail(files, index, buffers));
    }
}

}  // namespace quillon
