// The application object lives as long as all tests: Qt knows but one.

#include "Vintra/app/qt/DesignFont.h"
#include "Vintra/app/qt/Rendering.h"

#include <QAccessible>
#include <QApplication>
#include <QFont>
#include <gtest/gtest.h>

// Comes with what tests of several programs share, and is for those of the capture.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ScreenStreamConformance);

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    vintra::prepareRendering();
    QApplication application(argumentCount, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setFont(QFont(vintra::designFontFamily()));
    QAccessible::setRootObject(&application);
    return RUN_ALL_TESTS();
}
