#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <sys/resource.h>

#include <QSettings>
#include <QStringList>
#include <QVariant>

#include "ScopedEnv.h"
#include "TestFiles.h"
#include "core/NotificationCenter.h"
#include "settings/AppSettings.h"
#include "settings/FileSettingsStore.h"
#include "settings/SettingsFileFormat.h"

namespace tavi {
namespace {

namespace fs = std::filesystem;

class FileSettingsStoreTest : public ::testing::Test {
protected:
    std::string fileText() const { return test::readFile(file_); }
    void writeFile(const std::string& content) const { test::writeFile(file_, content); }

    const test::TempDir temp_{"tavi-settings"};
    const fs::path& root_ = temp_.path();
    const fs::path file_ = root_ / "config" / "tavi" / "tavi.conf";
};

TEST_F(FileSettingsStoreTest, ReadingNeverCreatesTheFile) {
    FileSettingsStore store(file_);
    EXPECT_FALSE(store.value("openAIModel"));
    NotificationCenter center;
    AppSettings settings(store, center);
    EXPECT_EQ(settings.openAIModel(), "gpt-4o-mini");
    EXPECT_FALSE(fs::exists(file_.parent_path()));
}

TEST_F(FileSettingsStoreTest, DirectoryAndFileArePrivateAndStaySo) {
    FileSettingsStore store(file_);
    store.setValue("openAIAPIKey", std::string("sk-first"));
    EXPECT_EQ(test::modeOf(root_ / "config"), 0700u);
    EXPECT_EQ(test::modeOf(file_.parent_path()), 0700u);
    EXPECT_EQ(test::modeOf(file_), 0600u);
    store.setValue("deepLIsPro", true);  // each write and removal replaces the file
    store.setValue("openAIAPIKey", std::string("sk-4"));
    store.remove("deepLIsPro");
    EXPECT_EQ(test::modeOf(file_), 0600u);

    // A file someone left readable by others is closed up at the next write.
    ::chmod(file_.c_str(), 0644);
    FileSettingsStore later(file_);
    later.setValue("claudeAPIKey", std::string("sk-second"));
    EXPECT_EQ(test::modeOf(file_), 0600u);
    EXPECT_EQ(FileSettingsStore(file_).value("openAIAPIKey"), StoredValue(std::string("sk-4")));
}

// SettingsTest holds every text to the value it gives; here, that what comes
// from the file is text, save byte arrays, and migrating touches one line.
TEST_F(FileSettingsStoreTest, TextWrittenByAnotherProcessLoadsWithTheRightTypes) {
    writeFile(
        "[General]\n"
        "activeProviderID=tencent\n"
        "targetLanguage=ja\n"
        "deepLIsPro=true\n"
        "showPopupNearCursor=abc\n"
        R"x(openTranslationWindowHotkey="@ByteArray({\"keyCode\":49,\"modifiers\":4608})")x" "\n"
        R"x(translateSelectedTextHotkey="{\"keyCode\":3,\"modifiers\":256}")x" "\n"
        "screenshotTranslationHotkey=@ByteArray({\"keyCode\":3})\n");
    FileSettingsStore store(file_);
    EXPECT_EQ(store.value("deepLIsPro"), StoredValue(std::string("true")));
    NotificationCenter center;
    AppSettings settings(store, center);
    const AppSettingsValues& v = settings.values();
    EXPECT_EQ(v.targetLanguage, Language::japanese);
    EXPECT_TRUE(v.deepLIsPro);
    EXPECT_EQ(v.openTranslationWindowHotkey, (HotkeyShortcut{49, 0x1200}));
    EXPECT_EQ(v.translateSelectedTextHotkey, (HotkeyShortcut{0, 0x0800}));  // text, not bytes
    EXPECT_EQ(v.screenshotTranslationHotkey, (HotkeyShortcut{1, 0x0800}));
    const std::string text = fileText();
    EXPECT_NE(text.find("activeProviderID=openai\n"), std::string::npos);
    EXPECT_NE(text.find("showPopupNearCursor=abc\n"), std::string::npos);
}

TEST_F(FileSettingsStoreTest, EverySettingSurvivesARelaunch) {
    NotificationCenter center;
    AppSettingsValues written;
    {
        FileSettingsStore store(file_);
        AppSettings settings(store, center);
        settings.setActiveProviderID("volcano");
        settings.setSourceLanguage(Language::english);
        settings.setTargetLanguage(Language::chineseTraditional);
        settings.setOpenAIAPIKey("sk-密钥");
        settings.setOpenAIModel("");
        settings.setOpenAIBaseURL("http://127.0.0.1:8080/proxy");
        settings.setClaudeAPIKey("ck");
        settings.setClaudeModel("true");  // a string that looks like a boolean stays a string
        settings.setDeepLAPIKey("dk:fx");
        settings.setDeepLIsPro(true);
        settings.setGoogleAPIKey("gk");
        settings.setBaiduAppID("2015063000000001");
        settings.setBaiduSecretKey("bk");
        settings.setAliyunAccessKeyID("LTAI");
        settings.setAliyunAccessKeySecret("ak");
        settings.setVolcanoAccessKeyID("AKLT");
        settings.setVolcanoSecretAccessKey("vk");
        settings.setClipboardMonitorEnabled(true);
        settings.setAutoTranslateOnCopy(false);
        settings.setShowPopupNearCursor(false);
        settings.setMinTextLengthForAutoTranslate(-9223372036854775807 - 1);
        settings.setOpenTranslationWindowHotkey({96, 0x0100});
        settings.setTranslateSelectedTextHotkey({49, 0x1A00});
        settings.setScreenshotTranslationHotkey({65535, 0x0200});
        settings.setToggleClipboardMonitorHotkey({8, 0x1000});
        written = settings.values();
    }
    FileSettingsStore store(file_);
    AppSettings relaunched(store, center);
    EXPECT_EQ(relaunched.values(), written);

    const std::string text = fileText();
    for (const char* line : {"deepLIsPro=true\n", "autoTranslateOnCopy=false\n",
                             "minTextLengthForAutoTranslate=-9223372036854775808\n", "targetLanguage=zh-TW\n",
                             "openAIModel=\n"}) {
        EXPECT_NE(text.find(line), std::string::npos) << line;
    }
}

// Another tavi process writing in turns with this one (here a second store
// on the same file) loses none of its keys, nor this one any of its own.
TEST_F(FileSettingsStoreTest, KeysWrittenByAnotherStoreMeanwhileAreKept) {
    FileSettingsStore store(file_);
    FileSettingsStore theirs(file_);
    store.setValue("ours-start", std::string("x"));
    for (int i = 0; i < 20; ++i) {
        store.setValue("ours-" + std::to_string(i), std::int64_t{i});
        theirs.setValue("theirs-" + std::to_string(i), std::string(static_cast<std::size_t>(i % 3), 'y'));
    }
    store.remove("ours-start");
    EXPECT_TRUE(theirs.lastWriteSucceeded());

    // The file itself, not a store's view of it.
    const std::string text = fileText();
    for (int i = 0; i < 20; ++i) {
        const std::string n = std::to_string(i);
        EXPECT_NE(text.find("\nours-" + n + "=" + n + "\n"), std::string::npos) << n;
        EXPECT_NE(text.find("\ntheirs-" + n + "=" + std::string(static_cast<std::size_t>(i % 3), 'y') + "\n"),
                  std::string::npos)
            << n;
    }
    EXPECT_EQ(text.find("ours-start"), std::string::npos);
    EXPECT_EQ(store.value("theirs-19"), StoredValue(std::string("y")));
    EXPECT_EQ(test::modeOf(file_), 0600u);
}

TEST_F(FileSettingsStoreTest, GarbageFilesLoadAsDefaults) {
    const std::string garbage[] = {
        std::string("\x00\xff\xfe\x01[General\n=\n==\n\x80\x81", 14),
        "[General]\ndeepLIsPro\nautoTranslateOnCopy=@Variant(\\0\\0\\0\\x7f\\0\\0\\0)\n"
        "openTranslationWindowHotkey=@ByteArray({\"keyCode\":1)\nminTextLengthForAutoTranslate=@Invalid()\n"
        "targetLanguage=@ByteArray(zh)\nopenAIModel=a, b, c\n[[[\n",
        std::string(1 << 20, '['),
    };
    for (const std::string& content : garbage) {
        writeFile(content);
        FileSettingsStore store(file_);
        NotificationCenter center;
        AppSettings settings(store, center);
        const AppSettingsValues& v = settings.values();
        EXPECT_FALSE(v.deepLIsPro);
        EXPECT_TRUE(v.autoTranslateOnCopy);
        EXPECT_EQ(v.minTextLengthForAutoTranslate, 2);
        EXPECT_EQ(v.openTranslationWindowHotkey, (HotkeyShortcut{17, 0x0800}));
        EXPECT_EQ(v.targetLanguage, Language::chinese);
        EXPECT_NE(v.openAIModel, "gpt-4o");
        settings.setOpenAIModel("after garbage");
        EXPECT_TRUE(store.lastWriteSucceeded());
        EXPECT_EQ(FileSettingsStore(file_).value("openAIModel"), StoredValue(std::string("after garbage")));
    }
}

TEST_F(FileSettingsStoreTest, AFileThatCannotBeWrittenKeepsTheValueInMemory) {
    // A regular file where the directory should be: fails even for root.
    fs::create_directories(root_ / "config");
    std::ofstream(root_ / "config" / "tavi") << "not a directory";
    FileSettingsStore store(file_);
    NotificationCenter center;
    AppSettings settings(store, center);
    settings.setOpenAIAPIKey("sk-kept");
    settings.setHotkey(HotkeyAction::screenshotTranslation, {2, 0x1000});
    EXPECT_FALSE(store.lastWriteSucceeded());
    EXPECT_EQ(settings.openAIAPIKey(), "sk-kept");
    EXPECT_EQ(store.value("openAIAPIKey"), StoredValue(std::string("sk-kept")));
    EXPECT_EQ(settings.screenshotTranslationHotkey(), (HotkeyShortcut{2, 0x1000}));

    // Once the way is clear the next write brings everything to disk.
    fs::remove(root_ / "config" / "tavi");
    settings.setClaudeAPIKey("ck");
    EXPECT_TRUE(store.lastWriteSucceeded());
    FileSettingsStore fresh(file_);
    EXPECT_EQ(fresh.value("openAIAPIKey"), StoredValue(std::string("sk-kept")));
    EXPECT_EQ(fresh.value("claudeAPIKey"), StoredValue(std::string("ck")));
}

QVariant toQVariant(const StoredValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return QString::fromStdString(*text);
    if (const auto* data = std::get_if<StoredBytes>(&value))
        return QByteArray(data->bytes.data(), static_cast<qsizetype>(data->bytes.size()));
    if (const auto* items = std::get_if<std::vector<std::string>>(&value)) {
        QStringList list;
        for (const std::string& item : *items) list.append(QString::fromStdString(item));
        return list;
    }
    if (const auto* flag = std::get_if<bool>(&value)) return *flag;
    return static_cast<qint64>(std::get<std::int64_t>(value));
}

std::optional<StoredValue> fromQVariant(const QVariant& value) {
    switch (value.metaType().id()) {
    case QMetaType::QString: return StoredValue(value.toString().toStdString());
    case QMetaType::QByteArray: return StoredValue(StoredBytes{value.toByteArray().toStdString()});
    case QMetaType::QStringList: {
        std::vector<std::string> list;
        for (const QString& item : value.toStringList()) list.push_back(item.toStdString());
        return StoredValue(list);
    }
    case QMetaType::QVariantList: {  // a list with @-escaped items: a list of texts only if all are
        std::vector<std::string> list;
        for (const QVariant& item : value.toList()) {
            if (item.metaType().id() != QMetaType::QString) return std::nullopt;
            list.push_back(item.toString().toStdString());
        }
        return StoredValue(list);
    }
    default: return std::nullopt;
    }
}

// QSettings is the independent judge of the dialect: what it writes, Tavi
// writes byte for byte and reads back as it was, and what it reads from a
// tricky file, Tavi reads too.
TEST_F(FileSettingsStoreTest, FileDialectMatchesQSettingsIniFormat) {
    const std::pair<std::string, StoredValue> values[] = {
        {"plain", std::string("gpt-4o-mini")},
        {"empty", std::string()},
        {"blanks", std::string(" lead and trail ")},
        {"separators", std::string("a;b,c=d")},
        {"at", std::string("@at")},
        {"doubleAt", std::string("@@")},
        {"controls", std::string("tab\tnl\ncr\r\x01" "b\x1f" "1\x7f\"\\\a\b\f\v")},
        {"escapeLookalikes", std::string("\"q\" \\ \\x41")},
        {"unicode", std::string("中文 é 😀 \u2028")},
        {"nul", std::string("a\0" "1b", 4)},
        {"hotkey", StoredBytes{R"({"keyCode":17,"modifiers":2048})"}},
        {"binary", StoredBytes{std::string("\0\x01\x7f\x80\xff" "9,)", 8)}},
        {"list", std::vector<std::string>{"a", " b ", "c,d", "@e", ""}},
        {"emptyList", std::vector<std::string>{}},
        {"flag", true},
        {"number", std::int64_t{-9223372036854775807 - 1}},
        {"key with space", std::string("v")},
        {"ключ", std::string("v")},
        {"group/key", std::string("v")},
        {"General/key", std::string("v")},
    };
    fs::create_directories(file_.parent_path());
    for (const auto& [key, value] : values) {
        fs::remove(file_);
        {
            QSettings qt(QString::fromStdString(file_.string()), QSettings::IniFormat);
            qt.setValue(QString::fromStdString(key), toQVariant(value));
        }
        EXPECT_EQ(formatSettingsFile({{key, value}}), fileText()) << key;
        // Flags and numbers read back as their text, and an empty list as nothing.
        const bool readsBack = !std::holds_alternative<bool>(value) && !std::holds_alternative<std::int64_t>(value) &&
                               key != "emptyList";
        if (readsBack) {
            EXPECT_EQ(parseSettingsFile(fileText()), (SettingsFileEntries{{key, value}})) << key;
        }
    }

    writeFile("; comment\r\n[General]\r\n  spaced  =  value  \r\nescapes=\\x4e2d\\101\\0\\1019\\t|\\q\\x\n"
              "quoted = \"a;b\" c ; tail\njoined=a\\\nb\nlist=a, \" b\", \"c,d\", @@e\nqq=a\"b,c\"d\n"
              "at=@foo\natat=@@x\nlistat=a,@b\nlistatat=a,@@b\nlistbytes=a,@ByteArray(b)\nliststring=a,@String(b\\0)\nbytes=@ByteArray(\xc3\xa9z\\x100)\nbytes2=@ByteArray(\\0\\x1\\xff\\x100z)\n"
              "str=@String(a\\0b)\ninv=@Invalid()\nvar=@Variant(\\0\\0\\0\\x7f\\0\\0\\0)\nrect=@Rect(1 2 3 4)\n"
              "dup=1\ndup=2\n#hash=1\n noeq\nk;x=1\n\"quoted key\"=1\n%41%U0042=k\nback\\slash=1\n"
              "emptylist=,\ntrail=a ,  b  \nk1 = v1 = v2\nuni=\xe4\xb8\xad\nlonghex=\\x123456789\n"
              "bsend=a\\\n[sec\nin=1\n[ general ]\ng2=1\n[%General]\npg=1\n[a%2Fb]\nc=1\n[u%U00E9]\nk=1\n[x]y]\nz=1\n"
              "unterminated=\"abc\nnext=1\n");
    const SettingsFileEntries ours = parseSettingsFile(fileText());
    QSettings qt(QString::fromStdString(file_.string()), QSettings::IniFormat);
    std::size_t readable = 0;
    for (const QString& key : qt.allKeys()) {
        const std::optional<StoredValue> expected = fromQVariant(qt.value(key));
        const auto found = ours.find(key.toStdString());
        if (!expected) {
            EXPECT_EQ(found, ours.end()) << key.toStdString();
            continue;
        }
        ++readable;
        ASSERT_NE(found, ours.end()) << key.toStdString();
        EXPECT_EQ(found->second, *expected) << key.toStdString();
    }
    EXPECT_EQ(ours.size(), readable);
    EXPECT_GE(readable, 25u);
}

// A @Variant(...) entry with a bogus length used to have QSettings reserve
// memory by that length. It is never decoded now: reading stays within a
// small address-space limit, the entry gives the default, and the next write
// drops it and keeps the rest.
TEST_F(FileSettingsStoreTest, SerialisedQtValuesCostNoMoreThanTheirBytes) {
    writeFile("[General]\n"
              "autoTranslateOnCopy=@Variant(\\0\\0\\0\\t\\x7f\\xff\\xff\\xff)\n"
              "minTextLengthForAutoTranslate=@Variant(\\0\\0\\0\\x7f\\xff\\xff\\xff\\xff)\n"
              "openAIModel=@Variant(\\0\\0\\0\\n\\xff\\xff\\xff\\xfe)\n"
              "openTranslationWindowHotkey=@Variant(\\0\\0\\0\\f\\x7f\\xff\\xff\\xff)\n"
              "claudeModel=kept\n");
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
#if !defined(__SANITIZE_ADDRESS__)
        const rlim_t limit = rlim_t{1} << 30;  // far below what any of those lengths would reserve
        const rlimit cap{limit, limit};
        if (::setrlimit(RLIMIT_AS, &cap) != 0) ::_exit(3);
#endif
        FileSettingsStore store(file_);
        NotificationCenter center;
        AppSettings settings(store, center);
        const AppSettingsValues& v = settings.values();
        const bool defaults = v.autoTranslateOnCopy && v.minTextLengthForAutoTranslate == 2 &&
                              v.openAIModel == "gpt-4o-mini" && v.openTranslationWindowHotkey == HotkeyShortcut{17, 0x0800} &&
                              v.claudeModel == "kept";
        ::_exit(defaults ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;

    FileSettingsStore store(file_);
    store.setValue("deepLIsPro", true);
    EXPECT_EQ(fileText(), "[General]\nclaudeModel=kept\ndeepLIsPro=true\n");
}

TEST(FileSettingsStorePath, FollowsXdgConfigHomeWhenAbsolute) {
    test::ScopedEnv home("HOME", "/home/someone");
    {
        test::ScopedEnv xdg("XDG_CONFIG_HOME", "/custom/config");
        EXPECT_EQ(FileSettingsStore::defaultFilePath(), fs::path("/custom/config/tavi/tavi.conf"));
    }
    for (std::optional<std::string> unusable : {std::optional<std::string>(), std::optional<std::string>(""),
                                                std::optional<std::string>("relative/config")}) {
        test::ScopedEnv xdg("XDG_CONFIG_HOME", unusable);
        EXPECT_EQ(FileSettingsStore::defaultFilePath(), fs::path("/home/someone/.config/tavi/tavi.conf"));
    }
}

}  // namespace
}  // namespace tavi
