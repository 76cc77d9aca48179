#pragma once

#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Platform.h"

#include <QImage>
#include <QObject>
#include <QSize>
#include <QtQml/qqmlregistration.h>
#include <memory>

namespace vintra {

class AVCaptureSession;

/// What a camera sends, shrunk to the size in which it is seen, at most 15 times a second and only while it is seen.
/// The shrinking has a queue of its own, which holds one picture at the most. Owned by the preview window. Main thread.
class CameraFeed : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the preview windows")

public:
    explicit CameraFeed(const Platform& platform, QObject* parent = nullptr);
    ~CameraFeed() override;

    /// Null for none.
    void setSession(std::shared_ptr<AVCaptureSession> newSession);
    void setWatched(bool watched);
    /// In pixels of the screen.
    void setSize(QSize pixels);
    const QImage& picture() const { return latest; }

Q_SIGNALS:
    void pictureChanged();

private:
    struct Shared;

    void follow();

    const std::shared_ptr<Shared> shared; ///< with the queues
    std::shared_ptr<AVCaptureSession> session;
    bool isWatched = false;
    QImage latest;
    Observation observation;
};

} // namespace vintra
