#include <QAccessible>
#include <QCheckBox>
#include <QDesktopServices>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QUrl>

#include "WidgetFixture.h"
#include "app/ProviderConfigView.h"
#include "app/ProviderListCard.h"
#include "app/ProviderMetadata.h"
#include "app/ProviderWidgets.h"
#include "app/ProvidersTab.h"
#include "settings/AppSettings.h"

namespace tavi::test {
namespace {

// The control a screen reader announces by `name`.
template <typename W = QWidget>
W* named(const QWidget& root, const QString& name) {
    for (W* widget : root.findChildren<W*>())
        if (QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name) == name) return widget;
    return nullptr;
}

ProviderListCard& card(const ProvidersTab& tab, std::string_view id) {
    for (ProviderListCard* card : tab.cards())
        if (card->providerID() == id) return *card;
    throw std::out_of_range(std::string(id));
}

void key(QWidget* widget, int key, const QString& text = {}) {
    for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier, text);
        QCoreApplication::sendEvent(widget, &event);
    }
}

void type(QWidget* widget, const QString& text) {
    for (QChar c : text) key(widget, Qt::Key_unknown, QString(c));
}

bool shown(const QWidget* widget) { return widget && !widget->isHidden(); }

// Where the "查看配置文档" links go, instead of a browser.
class OpenedUrls : public QObject {
    Q_OBJECT
public:
    OpenedUrls() { QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "open"); }
    ~OpenedUrls() override { QDesktopServices::unsetUrlHandler(QStringLiteral("https")); }
    Q_INVOKABLE void open(const QUrl& url) { urls << url.toString(); }
    QStringList urls;
};

// Every field of every pane: the setting it edits, and whether it is a secret.
struct TextField {
    std::string_view provider;
    QString title;
    const std::string& (AppSettings::*get)() const;
    void (AppSettings::*set)(std::string);
    bool secret;
};
const TextField kTextFields[] = {
    {"openai", "API Key", &AppSettings::openAIAPIKey, &AppSettings::setOpenAIAPIKey, true},
    {"openai", "模型", &AppSettings::openAIModel, &AppSettings::setOpenAIModel, false},
    {"openai", "Base URL", &AppSettings::openAIBaseURL, &AppSettings::setOpenAIBaseURL, false},
    {"claude", "API Key", &AppSettings::claudeAPIKey, &AppSettings::setClaudeAPIKey, true},
    {"claude", "模型", &AppSettings::claudeModel, &AppSettings::setClaudeModel, false},
    {"deepl", "API Key", &AppSettings::deepLAPIKey, &AppSettings::setDeepLAPIKey, true},
    {"google", "API Key", &AppSettings::googleAPIKey, &AppSettings::setGoogleAPIKey, true},
    {"baidu", "APP ID", &AppSettings::baiduAppID, &AppSettings::setBaiduAppID, false},
    {"baidu", "密钥", &AppSettings::baiduSecretKey, &AppSettings::setBaiduSecretKey, true},
    {"aliyun", "AccessKey ID", &AppSettings::aliyunAccessKeyID, &AppSettings::setAliyunAccessKeyID, false},
    {"aliyun", "AccessKey Secret", &AppSettings::aliyunAccessKeySecret, &AppSettings::setAliyunAccessKeySecret, true},
    {"volcano", "Access Key ID", &AppSettings::volcanoAccessKeyID, &AppSettings::setVolcanoAccessKeyID, false},
    {"volcano", "Secret Access Key", &AppSettings::volcanoSecretAccessKey, &AppSettings::setVolcanoSecretAccessKey,
     true},
};

TEST_F(WidgetTest, AnUnknownProviderIsAGrayPuzzlePieceWithNothingToConfigure) {
    for (std::string_view id : {"foo", "", "OpenAI", "tencent"}) {
        const ProviderMetadata& metadata = providerMetadata(id);
        EXPECT_EQ(metadata.symbolName, "puzzlepiece") << id;
        EXPECT_EQ(metadata.accentColor, "gray") << id;
        EXPECT_FALSE(metadata.learnMoreURL) << id;
    }

    harness.settings.setActiveProviderID("foo");
    ProvidersTab tab(services());
    EXPECT_EQ(tab.selectedProviderID(), "foo");
    for (const ProviderListCard* card : tab.cards()) EXPECT_FALSE(card->isSelected()) << card->providerID();
    // The pane holds the one sentence and nothing else: no head, no link, no fields.
    const QList<QLabel*> labels = tab.configView().findChildren<QLabel*>();
    ASSERT_EQ(labels.size(), 1);
    EXPECT_EQ(labels.front()->text(), QStringLiteral("暂不支持配置此服务商"));
    EXPECT_TRUE(tab.configView().findChildren<QAbstractButton*>().isEmpty());
    EXPECT_TRUE(tab.configView().findChildren<QLineEdit*>().isEmpty());
}

TEST_F(WidgetTest, EachKnownProviderLinksToItsKeyConsole) {
    OpenedUrls opened;
    for (const auto& provider : TranslationService::providers()) {
        ProviderConfigView view(provider->id(), harness.settings);
        auto* link = named<QPushButton>(view, QStringLiteral("查看配置文档"));
        ASSERT_TRUE(link) << provider->id();
        link->click();
        const auto url = providerMetadata(provider->id()).learnMoreURL;
        ASSERT_TRUE(url);
        EXPECT_TRUE(url->starts_with("https://")) << *url;
        EXPECT_EQ(opened.urls.takeFirst().toStdString(), *url);
    }
}

TEST_F(WidgetTest, CardsShowTheCurrentProviderAndWhetherEachIsConfigured) {
    ProvidersTab tab(services());
    ASSERT_EQ(tab.cards().size(), TranslationService::providers().size());
    for (std::size_t i = 0; i < tab.cards().size(); ++i)
        EXPECT_EQ(tab.cards()[i]->providerID(), TranslationService::providers()[i]->id());

    // Each card is one element for a screen reader, its name saying it all.
    for (ProviderListCard* each : tab.cards())
        EXPECT_EQ(QAccessible::queryAccessibleInterface(each)->childCount(), 0) << each->providerID();
    const QString openai = QStringLiteral("OpenAI，适合通用翻译与自定义模型配置，当前使用中，");
    EXPECT_EQ(card(tab, "openai").accessibleName(), openai + "未配置");
    harness.settings.setOpenAIAPIKey("sk-1");
    EXPECT_EQ(card(tab, "openai").accessibleName(), openai + "已配置");
    harness.settings.setOpenAIAPIKey("");
    EXPECT_EQ(card(tab, "openai").accessibleName(), openai + "未配置");

    // Written by another process, then read again.
    const QString baidu = QStringLiteral("百度翻译，中文场景友好，适合国内网络环境，");
    harness.store.setValue("baiduAppID", std::string("2024"));
    harness.store.setValue("baiduSecretKey", std::string("s"));
    harness.settings.reloadFromStore();
    EXPECT_EQ(card(tab, "baidu").accessibleName(), baidu + "已配置");
    harness.store.remove("baiduSecretKey");
    harness.settings.reloadFromStore();
    EXPECT_EQ(card(tab, "baidu").accessibleName(), baidu + "未配置");
    EXPECT_FALSE(card(tab, "baidu").isConfigured());

    harness.settings.setActiveProviderID("volcano");
    EXPECT_TRUE(card(tab, "volcano").isCurrent());
    EXPECT_FALSE(card(tab, "openai").isCurrent());
    EXPECT_EQ(card(tab, "volcano").accessibleName(),
              QStringLiteral("火山翻译，火山引擎翻译，适合字节生态用户，当前使用中，未配置"));
}

TEST_F(WidgetTest, SelectingACardShowsItsPaneAndOnlyTheButtonChangesTheCurrentProvider) {
    ProvidersTab tab(services());
    EXPECT_EQ(tab.selectedProviderID(), "openai");
    EXPECT_TRUE(card(tab, "openai").isSelected());
    EXPECT_TRUE(shown(named(tab.configView(), QStringLiteral("当前正在使用"))));
    EXPECT_FALSE(shown(named(tab.configView(), QStringLiteral("设为当前服务商"))));

    // By mouse, by the arrow keys and by Space; the ends of the list stay put.
    card(tab, "deepl").click();
    EXPECT_EQ(tab.selectedProviderID(), "deepl");
    key(&card(tab, "deepl"), Qt::Key_Down);
    EXPECT_EQ(tab.selectedProviderID(), "google");
    key(&card(tab, "google"), Qt::Key_Up);
    key(&card(tab, "deepl"), Qt::Key_Up);
    key(&card(tab, "claude"), Qt::Key_Up);
    key(&card(tab, "openai"), Qt::Key_Up);
    EXPECT_EQ(tab.selectedProviderID(), "openai");
    key(&card(tab, "claude"), Qt::Key_Space, QStringLiteral(" "));
    EXPECT_EQ(tab.selectedProviderID(), "claude");
    EXPECT_EQ(tab.configView().providerID(), "claude");
    for (const ProviderListCard* each : tab.cards()) EXPECT_EQ(each->isSelected(), each->providerID() == "claude");
    EXPECT_EQ(harness.settings.activeProviderID(), "openai");

    EXPECT_FALSE(shown(named(tab.configView(), QStringLiteral("当前正在使用"))));
    named<QPushButton>(tab.configView(), QStringLiteral("设为当前服务商"))->click();
    EXPECT_EQ(harness.settings.activeProviderID(), "claude");
    EXPECT_TRUE(card(tab, "claude").isCurrent());
    EXPECT_FALSE(card(tab, "openai").isCurrent());
    EXPECT_TRUE(shown(named(tab.configView(), QStringLiteral("当前正在使用"))));
    EXPECT_FALSE(shown(named(tab.configView(), QStringLiteral("设为当前服务商"))));

    // The selection lasts while the window is open and starts afresh at the
    // current provider when it is opened again.
    tab.show();
    card(tab, "baidu").click();
    tab.hide();
    tab.show();
    EXPECT_EQ(tab.selectedProviderID(), "claude");
}

TEST_F(WidgetTest, EachFieldWritesItsSettingAndFollowsChangesMadeElsewhere) {
    ProvidersTab tab(services());
    for (const TextField& field : kTextFields) {
        SCOPED_TRACE(field.title.toStdString() + " of " + std::string(field.provider));
        tab.selectProvider(std::string(field.provider));
        auto* edit = named<QLineEdit>(tab.configView(), field.title);
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->text().toStdString(), (harness.settings.*field.get)());
        EXPECT_FALSE(edit->placeholderText().isEmpty());
        EXPECT_EQ(QAccessible::queryAccessibleInterface(edit)->text(QAccessible::Description),
                  edit->placeholderText());

        const std::string before = (harness.settings.*field.get)();
        type(edit, QStringLiteral("k7"));
        EXPECT_EQ((harness.settings.*field.get)(), before + "k7");
        (harness.settings.*field.set)("elsewhere");
        EXPECT_EQ(edit->text(), QStringLiteral("elsewhere"));
    }
    for (const auto& provider : TranslationService::providers()) {
        tab.selectProvider(provider->id());
        const auto rows = std::count_if(std::begin(kTextFields), std::end(kTextFields),
                                        [&](const TextField& field) { return field.provider == provider->id(); });
        EXPECT_EQ(tab.configView().findChildren<QLineEdit*>().size(), rows) << provider->id();
    }

    tab.selectProvider("deepl");
    auto* pro = named<QCheckBox>(tab.configView(), QStringLiteral("使用 Pro 账户端点"));
    ASSERT_TRUE(pro);
    pro->click();
    EXPECT_TRUE(harness.settings.deepLIsPro());
    harness.settings.setDeepLIsPro(false);
    EXPECT_FALSE(pro->isChecked());
}

TEST_F(WidgetTest, SecretsAreMaskedUntilRevealed) {
    ProvidersTab tab(services());
    for (const TextField& field : kTextFields) {
        SCOPED_TRACE(field.title.toStdString() + " of " + std::string(field.provider));
        tab.selectProvider(std::string(field.provider));
        auto* edit = named<QLineEdit>(tab.configView(), field.title);
        ASSERT_TRUE(edit);
        if (!field.secret) {
            EXPECT_EQ(edit->echoMode(), QLineEdit::Normal);
            continue;
        }
        EXPECT_EQ(edit->echoMode(), QLineEdit::Password);
        auto* reveal = named<QToolButton>(*edit, QStringLiteral("显示密钥"));
        ASSERT_TRUE(reveal);
        reveal->click();
        EXPECT_EQ(edit->echoMode(), QLineEdit::Normal);
        EXPECT_EQ(reveal->accessibleName(), QStringLiteral("隐藏密钥"));
        reveal->click();
        EXPECT_EQ(edit->echoMode(), QLineEdit::Password);
    }
}

TEST_F(WidgetTest, TypingIsNotDisturbedByItsOwnSaving) {
    ProvidersTab tab(services());
    auto* model = named<QLineEdit>(tab.configView(), QStringLiteral("模型"));
    model->setCursorPosition(3);
    type(model, QStringLiteral("X"));
    EXPECT_EQ(harness.settings.openAIModel(), "gptX-4o-mini");
    EXPECT_EQ(model->cursorPosition(), 4);
    model->undo();
    EXPECT_EQ(harness.settings.openAIModel(), "gpt-4o-mini");
}

}  // namespace
}  // namespace tavi::test

#include "ProvidersTabTest.moc"
