#include "library/fetch_in_order.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "documents/json_access.h"
#include "library/fetch_drawing.h"
#include "shared/in_parallel.h"

namespace quillon {
namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

/// So many slow files in a row are no accident of a busy machine.
constexpr std::size_t slowFilesOfAShare = 4;

/// Whether opening and reading a file took more than half a millisecond and a gigabyte a second.
/// From the page cache it takes a fifth of that.
bool isSlow(std::size_t bytes, Clock::duration time) {
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

/// Threads that fetch, and the state that they share, all under one mutex. Each thread takes the
/// next drawing of the list, reads its file, and then waits for a parser to decode it with. There
/// are as many parsers as processors. As many drawings are fetched at a time, one of them by the
/// calling thread, until several files in a row were slow to read. Then further threads fetch up to
/// `maxReaders` at a time, and fewer again with each quick file: a load of files in the page cache
/// takes 1.5 times as long with so many.
///
/// The drawing whose turn it is never waits for room, so the calling thread always gets it.
class ParallelFetch {
  public:
    explicit ParallelFetch(const json& listedFiles)
        : files(listedFiles),
          end(files.size()),
          places(std::min(files.size(), maxDrawingsInFlight)),
          parsers(processorCount()),
          maxFetches(parsers.size()) {
        // All memory for the hand-over is allocated before reading starts.
        for (simdjson::dom::parser& parser : parsers) {
            freeParsers.push_back(&parser);
        }
        threads.reserve(std::max(parsers.size(), maxReaders));
        const std::lock_guard lock(mutex);
        startThreads(parsers.size() - 1);
    }

    ParallelFetch(const ParallelFetch&) = delete;
    ParallelFetch& operator=(const ParallelFetch&) = delete;

    /// Ends the threads, whatever the reason for leaving.
    ~ParallelFetch() {
        const std::lock_guard lock(mutex);
        isStopped = true;
        mayTake.notify_all();
        hasRoom.notify_all();
    }

    /// Returns how many drawings have been consumed: all, or those ahead of the first one that the
    /// system has no memory or descriptor for.
    std::size_t consumeAll(const std::function<void(Drawing&&)>& consume) {
        std::unique_lock lock(mutex);
        while (consumed < end) {
            std::optional<Drawing>& first = places[consumed % places.size()];
            if (first) {
                Drawing drawing = *std::exchange(first, std::nullopt);
                ++consumed;
                makeRoom(bytesOf(drawing));
                lock.unlock();
                consume(std::move(drawing));
                lock.lock();
            } else if (threads.size() < parsers.size() && mayTakeNext()) {
                fetchNext(lock);
            } else {
                firstFetched.wait(lock, [&] { return first || consumed >= end; });
            }
        }
        return consumed;
    }

  private:
    /// Thrown instead of reading a file whose drawing nobody waits for any more.
    struct Stopped {};

    /// Until there are `count`, one for each drawing, or as many as the system allows.
    void startThreads(std::size_t count) {
        try {
            while (threads.size() < std::min(count, files.size())) {
                threads.emplace_back([this]() noexcept { fetchAll(); });
            }
        } catch (const std::exception&) {
            // Those there are fetch all drawings. Without any, the calling thread does.
        }
    }

    bool mayTakeNext() const {
        return fetches < maxFetches && next < end && next - consumed < places.size() &&
               (next == consumed || bytesInFlight + expectedBytes <= maxBytesInFlight);
    }

    void wakeForNext() {
        if (mayTakeNext()) {
            mayTake.notify_one();
        }
    }

    void makeRoom(std::size_t bytes) {
        bytesInFlight -= bytes;
        hasRoom.notify_all();
        wakeForNext();
    }

    /// Fetches until all is over.
    void fetchAll() {
        std::unique_lock lock(mutex);
        while (true) {
            mayTake.wait(lock, [&] { return isStopped || mayTakeNext(); });
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
        wakeForNext();
        lock.unlock();
        std::optional<Drawing> drawing = fetch(index, fileBytes);
        lock.lock();
        --fetches;
        if (drawing) {
            bytesInFlight += bytesOf(*drawing);
            places[index % places.size()] = std::move(drawing);
        } else {
            end = std::min(end, index);
        }
        if (index == consumed) {
            firstFetched.notify_one();
        }
        makeRoom(fileBytes);
    }

    /// Returns nothing for want of memory or descriptors. `fileBytes`, what the file is counted
    /// with, becomes its size. An exception would end the process from inside a thread, so none
    /// leaves.
    std::optional<Drawing> fetch(std::size_t index, std::size_t& fileBytes) noexcept {
        try {
            const Clock::time_point start = Clock::now();
            EncodingsFile file(elementOf(files, index));
            const Clock::duration waited = waitForRoom(index, fileBytes, file.input.size());
            const FileBytes bytes = file.input.readAll();
            const auto giveBack = [this](simdjson::dom::parser* parser) { giveParserBack(parser); };
            const std::unique_ptr<simdjson::dom::parser, decltype(giveBack)> parser(
                takeParser(isSlow(bytes.size, Clock::now() - start - waited)), giveBack);
            return decodeDrawing(file, bytes.view(), *parser);
        } catch (const std::bad_alloc&) {
            return std::nullopt;
        } catch (const TooManyOpenFiles&) {
            return std::nullopt;
        } catch (...) {
            return failedDrawing();
        }
    }

    /// Counts a file with its size instead of `fileBytes`. Waits until that has room or it is the
    /// drawing's turn; the calling thread does not wait, since it alone makes room. Returns how
    /// long.
    Clock::duration waitForRoom(std::size_t index, std::size_t& fileBytes, std::size_t size) {
        const Clock::time_point start = Clock::now();
        std::unique_lock lock(mutex);
        expectedBytes = size;
        bytesInFlight += size - std::exchange(fileBytes, size);
        hasRoom.wait(lock, [&] {
            return isStopped || index == consumed || bytesInFlight <= maxBytesInFlight ||
                   std::this_thread::get_id() == callingThread;
        });
        if (isStopped) {
            throw Stopped();
        }
        return Clock::now() - start;
    }

    /// Adapts how many drawings are fetched at a time to how the last file was read.
    void adapt(bool fileWasSlow) {
        slowFiles = fileWasSlow ? slowFiles + 1 : 0;
        if (slowFiles >= slowFilesOfAShare && !isStopped) {
            maxFetches = std::max(maxReaders, parsers.size());
            startThreads(maxFetches);
        } else if (!fileWasSlow) {
            maxFetches = std::max(maxFetches - 1, parsers.size());
        }
    }

    simdjson::dom::parser* takeParser(bool fileWasSlow) {
        std::unique_lock lock(mutex);
        adapt(fileWasSlow);
        parserFreed.wait(lock, [&] { return !freeParsers.empty(); });
        simdjson::dom::parser* const parser = freeParsers.back();
        freeParsers.pop_back();
        return parser;
    }

    void giveParserBack(simdjson::dom::parser* parser) {
        const std::lock_guard lock(mutex);
        freeParsers.push_back(parser);
        parserFreed.notify_one();
    }

    const json& files;
    const std::thread::id callingThread = std::this_thread::get_id();
    std::mutex mutex;
    std::condition_variable firstFetched;  // the drawing whose turn it is
    std::condition_variable mayTake;       // mayTakeNext()
    std::condition_variable hasRoom;       // for a file that has been opened
    std::condition_variable parserFreed;
    std::size_t next = 0;                        // the first drawing that nobody has taken
    std::size_t consumed = 0;                    // those ahead of it have been handed over
    std::size_t end;                             // this one and those behind it are not handed over
    std::vector<std::optional<Drawing>> places;  // fetched drawing i at i modulo its size
    std::size_t bytesInFlight = 0;
    std::size_t expectedBytes = 0;  // size of the last file that was opened
    std::vector<simdjson::dom::parser> parsers;
    std::vector<simdjson::dom::parser*> freeParsers;
    std::size_t fetches = 0;  // drawings that are being fetched
    std::size_t maxFetches;
    std::size_t slowFiles = 0;  // in a row
    bool isStopped = false;
    std::vector<std::jthread> threads;  // joined before anything that they use is gone
};

}  // namespace

void fetchInOrder(const json& files, const std::function<void(Drawing&&)>& consume) {
    std::size_t index = ParallelFetch(files).consumeAll(consume);
    simdjson::dom::parser parser;
    for (; index < files.size(); ++index) {
        Drawing drawing;
        try {
            drawing = fetchDrawing(elementOf(files, index), parser);
        } catch (...) {
            drawing = failedDrawing();
        }
        consume(std::move(drawing));
    }
}

}  // namespace quillon
