#include <QTabWidget>

#include "WidgetFixture.h"
#include "app/SettingsWindow.h"

namespace tavi::test {
namespace {

TEST_F(WidgetTest, SettingsWindowHasItsTitleAndThreeTabs) {
    SettingsWindow window(services());
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Tavi · 偏好设置"));
    ASSERT_EQ(window.tabs().count(), 3);
    EXPECT_EQ(window.tabs().tabText(0), QStringLiteral("通用"));
    EXPECT_EQ(window.tabs().tabText(1), QStringLiteral("翻译服务"));
    EXPECT_EQ(window.tabs().tabText(2), QStringLiteral("快捷键"));
}

}  // namespace
}  // namespace tavi::test
