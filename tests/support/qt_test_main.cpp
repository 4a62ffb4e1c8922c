#include <QApplication>

#include <gtest/gtest.h>

// Tests of the shell need a QApplication (widgets for the tray fallback, Qt Quick for the views)
// and its event loop; the tests themselves spin the loop where they wait for something.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
