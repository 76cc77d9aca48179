#pragma once

#include "Vintra/platform/simulated/SimulatedAssetWriter.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// Makes the writers of a simulated machine and keeps them for the test to look at. One real thread.
class SimulatedAssetWriters : public AssetWriters {
public:
    explicit SimulatedAssetWriters(SimulatedAssetWriter::Services services);

    std::shared_ptr<AVAssetWriter> makeWriter(const URL& outputURL, AVFileType fileType) override;
    std::shared_ptr<AVAssetWriterInput> makeInput(const AVOutputSettings& settings,
                                                  bool expectsMediaDataInRealTime) override;
    /// A simulated movie needs no repair.
    void repairMovie(const URL& at) override { repaired.push_back(at); }

    /// The writer made last for a file of this name; null if there is none.
    std::shared_ptr<SimulatedAssetWriter> writer(const std::string& lastPathComponent) const;

    /// Script the behaviour of writers to come by their file; nothing set, everything works.
    std::function<SimulatedWriterScript(const URL&, AVFileType)> script;
    std::vector<std::shared_ptr<SimulatedAssetWriter>> writers; ///< all that were made, in order
    std::vector<URL> repaired;                                  ///< movies that were to be repaired, in order

private:
    SimulatedAssetWriter::Services services;
};

} // namespace vintra
