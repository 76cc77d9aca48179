#include "Vintra/take/FinishWatch.h"

#include <utility>

namespace vintra {
namespace {

constexpr int64_t kPatienceNanoseconds = 5'000'000'000;
constexpr int64_t kLeewayNanoseconds = 100'000'000;

} // namespace

void FinishWatch::begin(std::shared_ptr<AVAssetWriter> file, DispatchQueue& queue) {
    writer = std::move(file);
    isTold = false;
    timer = queue.makeTimer(
        {.delayNanoseconds = kPatienceNanoseconds,
         .intervalNanoseconds = kPatienceNanoseconds,
         .leewayNanoseconds = kLeewayNanoseconds},
        [main = &mainThread, late = tasks.guarded([this] { isLate(); })] { main->post([late] { late(); }); });
    timer->resume();
}

void FinishWatch::end() {
    timer.reset();
    writer.reset();
}

void FinishWatch::isLate() {
    if (!writer || isTold) return;
    isTold = true;
    statusMessage.set("Waiting for the disk to take the rest of " + writer->outputURL().lastPathComponent() +
                      "…");
    if (isGivenUp) giveUp();
}

void FinishWatch::giveUp() {
    if (!writer || !isTold) return;
    isGivenUp = true;
    abandoned = writer.get();
    writer->abandonFinish();
}

} // namespace vintra
