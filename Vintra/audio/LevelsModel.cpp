#include "Vintra/audio/LevelsModel.h"

namespace vintra {

std::shared_ptr<LevelsModel> LevelsModel::make(const HostClock& hostClock, MainThread& mainThread) {
    return std::shared_ptr<LevelsModel>(new LevelsModel(hostClock, mainThread));
}

LevelsModel::LevelsModel(const HostClock& hostClock, MainThread& mainThread)
    : gate(hostClock)
    , mainThread(mainThread) {}

void LevelsModel::publish(const LevelKey& key, float level) {
    if (!gate.allow(key)) return;
    mainThread.post([weak = weak_from_this(), key, level] {
        if (const auto model = weak.lock()) model->set(key, level);
    });
}

void LevelsModel::set(const LevelKey& key, float level) {
    switch (key.kind) {
    case LevelKey::Kind::mic:
        micLevel.set(level);
        break;
    case LevelKey::Kind::daw:
        dawLevel.set(level);
        break;
    case LevelKey::Kind::extra:
        extraInputLevels.update([&](auto& levels) { levels[key.id] = level; });
        break;
    }
}

float LevelsModel::level(const LevelKey& key) const {
    switch (key.kind) {
    case LevelKey::Kind::mic:
        return *micLevel;
    case LevelKey::Kind::daw:
        return *dawLevel;
    case LevelKey::Kind::extra: {
        const auto entry = extraInputLevels->find(key.id);
        return entry == extraInputLevels->end() ? 0 : entry->second;
    }
    }
    return 0;
}

void LevelsModel::pruneExtraLevels(const std::set<UUID>& keeping) {
    extraInputLevels.update([&](auto& levels) {
        std::erase_if(levels, [&](const auto& entry) { return !keeping.contains(entry.first); });
    });
}

} // namespace vintra
