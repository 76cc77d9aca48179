#pragma once

#include "Vintra/app/qt/MenuModel.h"
#include "Vintra/app/qt/TrackRowModel.h"

namespace vintra {

class WebcamRows;

/// A camera's row.
class WebcamRowModel : public TrackRowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(bool isArmed READ isArmed NOTIFY changed)
    Q_PROPERTY(bool canArm READ canArm NOTIFY changed)
    Q_PROPERTY(bool disabled READ disabled NOTIFY changed)
    Q_PROPERTY(bool isRemovable READ isRemovable NOTIFY changed)
    Q_PROPERTY(bool showAddLink READ showAddLink NOTIFY changed)
    Q_PROPERTY(bool canAdd READ canAdd NOTIFY changed)
    Q_PROPERTY(bool canShowPreview READ canShowPreview NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(vintra::MenuModel* devices READ devices CONSTANT)
    Q_PROPERTY(vintra::MenuModel* resolutions READ resolutions CONSTANT)
    Q_PROPERTY(QString image READ image CONSTANT)
    Q_PROPERTY(QString resolutionHelp READ resolutionHelp CONSTANT)
    Q_PROPERTY(QString previewTitle READ previewTitle CONSTANT)
    Q_PROPERTY(QString addTitle READ addTitle CONSTANT)

public:
    WebcamRowModel(WebcamRows& rows, std::string computer, QObject* parent = nullptr);

    QString view() const override { return "WebcamRowView.qml"; }
    Group group() const override { return Group::webcams; }
    void show(const TrackRow& newRow) override;

    Q_INVOKABLE void setArmed(bool armed);
    Q_INVOKABLE void showPreview();
    Q_INVOKABLE void add();
    Q_INVOKABLE void remove();

    bool isArmed() const { return row.isArmed(); }
    bool canArm() const { return !row.disabled && (row.canArm || row.isArmed()); }
    bool disabled() const { return row.disabled; }
    bool isRemovable() const { return row.isRemovable(); }
    bool showAddLink() const { return row.showAddLink; }
    bool canAdd() const { return !row.disabled && row.availableDevices.isEnabled; }
    bool canShowPreview() const { return row.canShowPreview; }
    QString title() const;
    MenuModel* devices() { return &deviceMenu; }
    MenuModel* resolutions() { return &resolutionMenu; }
    QString image() const;
    QString resolutionHelp() const;
    QString previewTitle() const;
    QString addTitle() const;

private:
    WebcamRows& rows;
    const std::string computer;
    MenuModel deviceMenu;
    MenuModel resolutionMenu;
    WebcamRow row;
};

} // namespace vintra
