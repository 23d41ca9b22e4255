#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <future>

#include "CliRunner.h"

namespace tavi::test {
namespace {

TEST(ConfigCommand, ValuesRoundTripAsTextAndSecretsNeverShow) {
    CliSandbox sandbox;
    const std::vector<std::pair<std::string, std::string>> values = {
        {"openAIModel", "gpt-4o"},
        {"deepLIsPro", "true"},
        {"targetLanguage", "zh-TW"},
        {"minTextLengthForAutoTranslate", "5"},
        {"screenshotTranslationHotkey", R"({"keyCode":1,"modifiers":4352})"},
        {"claudeAPIKey", "sk-ant-very-secret"},
    };
    for (const auto& [key, value] : values) {
        ASSERT_EQ(sandbox.run({"config", "set", key, value}).exitCode, 0) << key;
        EXPECT_EQ(sandbox.run({"config", "get", key}).out, value + "\n");
    }
    struct stat status {};
    ASSERT_EQ(::stat(sandbox.configFile().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);

    const CliResult list = sandbox.run({"config", "list"});
    EXPECT_EQ(list.out.rfind("activeProviderID=openai\nsourceLanguage=auto\ntargetLanguage=zh-TW\n", 0), 0u);
    EXPECT_EQ(list.out.find("sk-ant-very-secret"), std::string::npos);
    EXPECT_NE(list.out.find("\nopenAIAPIKey=(未设置)\n"), std::string::npos);
    EXPECT_NE(list.out.find("\nclaudeAPIKey="), std::string::npos);

    ASSERT_EQ(sandbox.run({"config", "unset", "targetLanguage"}).exitCode, 0);
    EXPECT_EQ(sandbox.run({"config", "get", "targetLanguage"}).out, "zh\n");
}

// SettingsTextTest and HotkeyModelTest pin every refusal's text; here, a
// refused shortcut ends with status 1 and leaves the one before in place.
TEST(ConfigCommand, RefusedShortcutsChangeNothing) {
    CliSandbox sandbox;
    CliResult r = sandbox.run({"config", "set", "translateSelectedTextHotkey", R"({"keyCode":0,"modifiers":0})"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "全局快捷键至少需要一个修饰键。\n");
    r = sandbox.run({"config", "set", "translateSelectedTextHotkey", R"({"keyCode":1,"modifiers":2048})"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "“⌥S” 已被“截图翻译”使用，请换一个组合。\n");
    EXPECT_EQ(sandbox.run({"config", "get", "translateSelectedTextHotkey"}).out, R"({"keyCode":0,"modifiers":2048})"
                                                                                  "\n");
}

// A key pasted with a line break used to split the request into two header
// fields. It is refused when set, with status 2 as any malformed value; one
// that reaches the file by hand is stopped by the client (HttpClientTest).
TEST(ConfigCommand, CredentialLineBreaksAreRefused) {
    CliSandbox sandbox;
    const CliResult refused = sandbox.run({"config", "set", "claudeAPIKey", "sk-ant-SECRET\r\nX-Injected: yes"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.err, "tavi: 设置项 claudeAPIKey 的值不能含有换行、回车、制表符等控制字符\n用法见 tavi --help\n");
    EXPECT_EQ(sandbox.run({"config", "get", "claudeAPIKey"}).out, "\n");
}

TEST(ConfigCommand, AFileThatCannotBeWrittenIsReported) {
    CliSandbox sandbox;
    std::ofstream(sandbox.configHome() / "tavi") << "not a directory";  // stops root as well as anyone
    const CliResult r = sandbox.run({"config", "set", "openAIModel", "gpt-4o"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "tavi: 无法写入设置文件：" + sandbox.configFile().string() + "\n");
    EXPECT_EQ(sandbox.run({"config", "unset", "openAIModel"}).exitCode, 1);
}

TEST(ConfigCommand, ConcurrentProcessesLoseNoKeys) {
    CliSandbox sandbox;
    const std::vector<std::string> keys = {"openAIModel", "claudeModel", "baiduAppID", "aliyunAccessKeyID",
                                           "volcanoAccessKeyID", "openAIBaseURL"};
    std::vector<std::future<int>> runs;
    for (const std::string& key : keys) {
        runs.push_back(std::async(std::launch::async,
                                  [&, key] { return sandbox.run({"config", "set", key, "v-" + key}).exitCode; }));
    }
    for (auto& run : runs) EXPECT_EQ(run.get(), 0);
    for (const std::string& key : keys) EXPECT_EQ(sandbox.run({"config", "get", key}).out, "v-" + key + "\n");
}

}  // namespace
}  // namespace tavi::test
