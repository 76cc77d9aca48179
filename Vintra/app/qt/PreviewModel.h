#pragma once

#include "Vintra/app/WebcamPreviewView.h"
#include "Vintra/app/qt/CameraFeed.h"
#include "Vintra/platform/Geometry.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>
#include <functional>

namespace vintra {

/// A camera's window for its QML file. Owned by `QtFloatingPreviewWindow`. Main thread.
class PreviewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the preview windows")
    Q_PROPERTY(vintra::CameraFeed* feed READ feed CONSTANT)
    Q_PROPERTY(bool showsControls READ showsControls NOTIFY changed)
    Q_PROPERTY(bool showsPreviewOnly READ showsPreviewOnly NOTIFY changed)
    Q_PROPERTY(QStringList pills READ pills NOTIFY changed)
    Q_PROPERTY(QStringList pillNames READ pillNames NOTIFY changed)
    Q_PROPERTY(int chosenPill READ chosenPill NOTIFY changed)
    Q_PROPERTY(QString help READ help CONSTANT)
    Q_PROPERTY(QString closeHelp READ closeHelp CONSTANT)
    Q_PROPERTY(QString closeImage READ closeImage CONSTANT)
    Q_PROPERTY(QString previewOnly READ previewOnly CONSTANT)

public:
    explicit PreviewModel(const Platform& platform, QObject* parent = nullptr);

    void setContent(FloatingPreviewContent content);
    /// What dragging does: `startMove`, and `resizeTo` with the width that the pointer asks for.
    std::function<void()> onMove;
    std::function<void(double width)> onResize;

    CameraFeed* feed() { return &cameraFeed; }
    bool showsControls() const { return view.state().showsControls; }
    bool showsPreviewOnly() const { return view.state().showsPreviewOnly; }
    QStringList pills() const;
    QStringList pillNames() const;
    int chosenPill() const;
    QString help() const { return WebcamPreviewView::kHelp; }
    QString closeHelp() const { return WebcamPreviewView::kCloseHelp; }
    QString closeImage() const { return WebcamPreviewView::kCloseImage; }
    QString previewOnly() const { return WebcamPreviewView::kPreviewOnly; }

    Q_INVOKABLE void setHovering(bool hovering);
    Q_INVOKABLE void pick(int pill);
    Q_INVOKABLE void close() { view.close(); }
    Q_INVOKABLE void move();
    Q_INVOKABLE void resizeTo(double width);

Q_SIGNALS:
    void changed();

private:
    WebcamPreviewView view;
    CameraFeed cameraFeed;
};

} // namespace vintra
