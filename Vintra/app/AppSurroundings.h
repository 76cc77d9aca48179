#pragma once

#include "Vintra/platform/Platform.h"

namespace vintra {

class Desktop;
class FeedbackAsk;
class ScreenRecorderManager;
class UpdateNotice;

/// What the view models show and act on. All outlive them.
struct AppSurroundings {
    const Platform& platform;
    ScreenRecorderManager& recorder;
    Desktop& desktop;
    FeedbackAsk& feedbackAsk;
    UpdateNotice& updateNotice;
};

} // namespace vintra
