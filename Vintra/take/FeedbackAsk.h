#pragma once

namespace vintra {

/// Is told how takes went, to choose the moment for asking the user how it is going. Main thread.
class FeedbackAsk {
public:
    virtual ~FeedbackAsk() = default;
    virtual void recordingStarted() = 0;
    /// The take's length in seconds, and whether the user was told of anything wrong.
    virtual void takeFinished(double seconds, bool wentWrong) = 0;
};

} // namespace vintra
