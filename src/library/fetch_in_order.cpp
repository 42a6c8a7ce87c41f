#include "library/fetch_in_order.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "documents/json_access.h"
#include "library/fetch_drawing.h"

namespace quillon {
namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

/// Larger buffers are freed as soon as a file has been decoded.
constexpr std::size_t maxKeptBytes = std::size_t{1} << 20U;

/// So many slow files in a row are no accident of a busy machine.
constexpr std::size_t slowFilesOfAShare = 4;

/// How many more drawings are fetched at a time for each slow file.
constexpr std::size_t furtherFetches = 3;

/// Whether a file took more than half a millisecond and a gigabyte a second to open and read. From
/// the page cache it takes a fifth of that.
bool wasSlow(std::size_t bytes, Clock::duration time) {
    return time > std::chrono::microseconds(500) + std::chrono::nanoseconds(bytes);
}

std::size_t bytesOf(const Drawing& drawing) {
    return drawing.shapes.capacityBytes() + drawing.texts.capacityBytes();
}

/// To be called while an exception is handled.
Drawing failedDrawing() noexcept {
    Drawing failed;
    failed.failure = std::current_exception();
    failed.isReadable = false;
    return failed;
}

/// Whether the system is to blame for the failure, not the file.
bool isExhaustion(const std::exception_ptr& failure) noexcept {
    try {
        if (failure) {
            std::rethrow_exception(failure);
        }
    } catch (const std::bad_alloc&) {
        return true;
    } catch (const TooManyOpenFiles&) {
        return true;
    } catch (...) {
        return false;
    }
    return false;
}

/// Threads that fetch, and the state that they share, all under one mutex. Each thread reads a file
/// and then waits for a parser to decode it with. There are as many parsers as processors.
///
/// At first as many drawings are fetched at a time, one of them by the calling thread. While files
/// are slow and parsers wait for them, further threads fetch, and the calling thread only consumes.
/// When files are quick again, fewer threads fetch.
///
/// Drawings are taken in list order, and the drawing whose turn it is never waits for room, so the
/// calling thread always gets it.
class ParallelFetch {
  public:
    explicit ParallelFetch(const json& listedFiles)
        : files(listedFiles),
          places(std::min(files.size(), maxDrawingsInFlight)),
          parsers(std::max(1U, std::thread::hardware_concurrency())),
          maxFetches(parsers.size()) {
        for (simdjson::dom::parser& parser : parsers) {
            freeParsers.push_back(&parser);
        }
        // All memory for the hand-over is allocated before reading starts.
        freeBuffers.reserve(parsers.size() + maxReaders);
        threads.reserve(parsers.size() + maxReaders);
        const std::lock_guard lock(mutex);
        startThreads(maxFetches - 1);
    }

    ParallelFetch(const ParallelFetch&) = delete;
    ParallelFetch& operator=(const ParallelFetch&) = delete;

    /// Ends the threads, whatever the reason for leaving.
    ~ParallelFetch() {
        {
            const std::lock_guard lock(mutex);
            isStopped = true;
        }
        mayTake.notify_all();
        hasRoom.notify_all();
    }

    /// Returns how many drawings have been consumed: all, or those ahead of the first one that
    /// failed for want of memory or descriptors.
    std::size_t consumeAll(const std::function<void(Drawing&&)>& consume) {
        std::unique_lock lock(mutex);
        while (consumed < files.size()) {
            Place& first = places[consumed % places.size()];
            if (first.isFetched) {
                Drawing drawing = std::move(first.drawing);
                first.isFetched = false;
                if (isExhaustion(drawing.failure)) {
                    break;
                }
                ++consumed;
                makeRoom(bytesOf(drawing));
                lock.unlock();
                consume(std::move(drawing));
                lock.lock();
            } else if (maxFetches <= parsers.size() && mayFetch()) {
                fetchNext(lock);
            } else {
                firstFetched.wait(lock, [&] { return first.isFetched; });
            }
        }
        return consumed;
    }

  private:
    struct Place {
        bool isFetched = false;
        Drawing drawing;
    };

    struct Stopped {};

    /// Until there are `count`, or as many as the system allows.
    void startThreads(std::size_t count) {
        try {
            while (threads.size() < count && !isStopped) {
                threads.emplace_back([this]() noexcept { fetchAll(); });
            }
        } catch (const std::exception&) {
            // The calling thread is one more.
            maxFetches = std::min(maxFetches, threads.size() + 1);
        }
    }

    /// Adapts how many drawings are fetched at a time to how the last file was read.
    void adapt(bool lastWasSlow) {
        slowFiles = lastWasSlow ? slowFiles + 1 : 0;
        if (!lastWasSlow) {
            maxFetches = std::max(maxFetches - 1, parsers.size());
        } else if (slowFiles >= slowFilesOfAShare && !freeParsers.empty()) {
            maxFetches = std::max(maxFetches, std::min(maxFetches + furtherFetches, maxReaders));
            startThreads(std::min(maxFetches, files.size()));
        }
    }

    bool mayFetch() const {
        return fetches < maxFetches && next < files.size() && next - consumed < places.size() &&
               (next == consumed || bytesInFlight + expectedBytes <= maxBytesInFlight);
    }

    /// Fetches until all is over.
    void fetchAll() {
        std::unique_lock lock(mutex);
        while (true) {
            mayTake.wait(lock, [&] { return isStopped || mayFetch(); });
            if (isStopped) {
                return;
            }
            fetchNext(lock);
        }
    }

    void fetchNext(std::unique_lock<std::mutex>& lock) {
        const std::size_t index = next++;
        std::size_t fileBytes = expectedBytes;
        ++fetches;
        bytesInFlight += fileBytes;
        if (mayFetch()) {
            mayTake.notify_one();
        }
        lock.unlock();
        std::optional<EncodingsFile> file;
        Drawing drawing = fetch(index, fileBytes, file);
        lock.lock();
        bytesInFlight += bytesOf(drawing);
        Place& place = places[index % places.size()];
        place.drawing = std::move(drawing);
        place.isFetched = true;
        if (index == consumed) {
            firstFetched.notify_one();
        }
        makeRoom(fileBytes);
        // To close the file may take a round trip, for which the drawing need not wait.
        lock.unlock();
        file.reset();
        lock.lock();
        --fetches;
    }

    /// An exception would end the process from inside a thread, so none leaves.
    Drawing fetch(std::size_t index, std::size_t& fileBytes,
                  std::optional<EncodingsFile>& file) noexcept {
        try {
            const auto start = Clock::now();
            file.emplace(elementOf(files, index));
            const auto opened = Clock::now();
            const std::size_t size = file->input.size();
            FileBytes bytes = takeBuffer(index, std::exchange(fileBytes, size), size);
            const auto admitted = Clock::now();
            file->input.readAll(bytes);
            simdjson::dom::parser& parser =
                takeParser(wasSlow(size, opened - start + (Clock::now() - admitted)));
            Drawing drawing;
            try {
                drawing = decodeDrawing(*file, bytes.view(), parser);
            } catch (...) {
                drawing = failedDrawing();
            }
            giveBack(std::move(bytes), parser);
            return drawing;
        } catch (...) {
            return failedDrawing();
        }
    }

    /// Counts the file with its size instead of what was expected. Waits until that has room or it
    /// is the drawing's turn. The calling thread does not wait: it alone makes room.
    FileBytes takeBuffer(std::size_t index, std::size_t expected, std::size_t size) {
        std::unique_lock lock(mutex);
        expectedBytes = size;
        bytesInFlight += size - expected;
        hasRoom.wait(lock, [&] {
            return isStopped || index == consumed || bytesInFlight <= maxBytesInFlight ||
                   std::this_thread::get_id() == callingThread;
        });
        if (isStopped) {
            throw Stopped();
        }
        FileBytes buffer;
        if (!freeBuffers.empty()) {
            buffer = std::move(freeBuffers.back());
            freeBuffers.pop_back();
        }
        return buffer;
    }

    simdjson::dom::parser& takeParser(bool fileWasSlow) {
        std::unique_lock lock(mutex);
        adapt(fileWasSlow);
        parserFreed.wait(lock, [&] { return !freeParsers.empty(); });
        simdjson::dom::parser* const parser = freeParsers.back();
        freeParsers.pop_back();
        return *parser;
    }

    void giveBack(FileBytes&& buffer, simdjson::dom::parser& parser) {
        const std::lock_guard lock(mutex);
        if (buffer.capacity() <= maxKeptBytes) {
            freeBuffers.push_back(std::move(buffer));
        }
        freeParsers.push_back(&parser);
        parserFreed.notify_one();
    }

    void makeRoom(std::size_t bytes) {
        bytesInFlight -= bytes;
        hasRoom.notify_all();
        if (mayFetch()) {
            mayTake.notify_one();
        }
    }

    const json& files;
    const std::thread::id callingThread = std::this_thread::get_id();
    std::mutex mutex;
    std::condition_variable firstFetched;  // the drawing whose turn it is
    std::condition_variable mayTake;       // mayFetch()
    std::condition_variable hasRoom;       // for a file that has been opened
    std::condition_variable parserFreed;
    std::size_t next = 0;       // the first drawing that nobody has taken
    std::size_t consumed = 0;   // those ahead of it have been handed over
    std::vector<Place> places;  // drawing i, taken and not yet consumed, at i modulo its size
    std::size_t bytesInFlight = 0;
    std::size_t expectedBytes = 0;  // size of the last file that was opened
    std::vector<simdjson::dom::parser> parsers;
    std::vector<simdjson::dom::parser*> freeParsers;
    std::vector<FileBytes> freeBuffers;  // the last one is the likeliest in the cache
    std::size_t maxFetches;
    std::size_t fetches = 0;            // drawings that are being fetched
    std::size_t slowFiles = 0;          // in a row
    bool isStopped = false;             // no further drawing is to be taken
    std::vector<std::jthread> threads;  // joined before anything that they use is gone
};

}  // namespace

void fetchInOrder(const json& files, const std::function<void(Drawing&&)>& consume) {
    std::size_t index = ParallelFetch(files).consumeAll(consume);
    FetchBuffers buffers;
    for (; index < files.size(); ++index) {
        Drawing drawing;
        try {
            drawing = fetchDrawing(elementOf(files, index), buffers);
        } catch (...) {
            drawing = failedDrawing();
        }
        consume(std::move(drawing));
    }
}

}  // namespace quillon
