#include "tools/vintra/overlays/ClickColourPanel.h"

#include <QColorDialog>

#include <utility>

namespace vintra {

ClickColourPanel::ClickColourPanel() = default;

ClickColourPanel::~ClickColourPanel() = default;

void ClickColourPanel::show(const NSColor& color, std::function<void(NSColor)> told) {
    onChange = nullptr; // what the dialog begins with is no choice
    if (!dialog) {
        dialog = std::make_unique<QColorDialog>();
        dialog->setOptions(QColorDialog::NoButtons | QColorDialog::DontUseNativeDialog);
        dialog->setWindowTitle("Colour of the clicks");
        QObject::connect(dialog.get(), &QColorDialog::currentColorChanged, dialog.get(),
                         [this](const QColor& chosen) {
                             if (onChange) onChange({chosen.redF(), chosen.greenF(), chosen.blueF(), 1});
                         });
    }
    dialog->setCurrentColor(QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                                             static_cast<float>(color.blue)));
    onChange = std::move(told);
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

void ClickColourPanel::close() {
    onChange = nullptr;
    dialog.reset();
}

} // namespace vintra
