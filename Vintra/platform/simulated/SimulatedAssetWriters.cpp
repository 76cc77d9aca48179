#include "Vintra/platform/simulated/SimulatedAssetWriters.h"

#include <utility>

namespace vintra {

SimulatedAssetWriters::SimulatedAssetWriters(SimulatedAssetWriter::Services services)
    : services(std::move(services)) {}

std::shared_ptr<AVAssetWriter> SimulatedAssetWriters::makeWriter(const URL& outputURL, AVFileType fileType) {
    SimulatedWriterScript behaviour = script ? script(outputURL, fileType) : SimulatedWriterScript{};
    if (behaviour.cannotBeMade)
        throw SystemError("simulated", 3, "No writer for " + outputURL.lastPathComponent() + ".");
    writers.push_back(
        std::make_shared<SimulatedAssetWriter>(services, outputURL, fileType, std::move(behaviour)));
    return writers.back();
}

std::shared_ptr<AVAssetWriterInput> SimulatedAssetWriters::makeInput(const AVOutputSettings& settings,
                                                                     bool expectsMediaDataInRealTime) {
    return std::make_shared<SimulatedAssetWriterInput>(settings, expectsMediaDataInRealTime);
}

std::shared_ptr<SimulatedAssetWriter>
SimulatedAssetWriters::writer(const std::string& lastPathComponent) const {
    for (auto candidate = writers.rbegin(); candidate != writers.rend(); ++candidate) {
        if ((*candidate)->outputURL().lastPathComponent() == lastPathComponent) return *candidate;
    }
    return nullptr;
}

} // namespace vintra
