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

TEST(ConfigCommand, MalformedValuesAndRefusedShortcutsChangeNothing) {
    CliSandbox sandbox;
    for (const auto& [key, value] : std::vector<std::pair<std::string, std::string>>{
             {"deepLIsPro", "yes"}, {"targetLanguage", "english"}, {"minTextLengthForAutoTranslate", "2x"},
             {"translateSelectedTextHotkey", "{\"keyCode\":1}"}}) {
        const CliResult r = sandbox.run({"config", "set", key, value});
        EXPECT_EQ(r.exitCode, 2) << key;
        EXPECT_NE(r.err.find("tavi: "), std::string::npos) << key;
    }
    CliResult r = sandbox.run({"config", "set", "translateSelectedTextHotkey", R"({"keyCode":0,"modifiers":0})"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "全局快捷键至少需要一个修饰键。\n");
    r = sandbox.run({"config", "set", "translateSelectedTextHotkey", R"({"keyCode":1,"modifiers":2048})"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "“⌥S” 已被“截图翻译”使用，请换一个组合。\n");
    EXPECT_EQ(sandbox.run({"config", "get", "translateSelectedTextHotkey"}).out, R"({"keyCode":0,"modifiers":2048})"
                                                                                  "\n");
}

// A key pasted with a line break used to split the request into
// two header fields. Pasted blanks are trimmed; a line break inside is refused
// when set, and one that reaches the file by hand never reaches the wire.
TEST(ConfigCommand, CredentialLineBreaksNeverReachARequest) {
    CliSandbox sandbox;
    ASSERT_EQ(sandbox.run({"config", "set", "openAIAPIKey", "  sk-pasted\r\n"}).exitCode, 0);
    EXPECT_EQ(sandbox.run({"config", "get", "openAIAPIKey"}).out, "sk-pasted\n");

    const CliResult refused = sandbox.run({"config", "set", "claudeAPIKey", "sk-ant-SECRET\r\nX-Injected: yes"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.err, "tavi: 设置项 claudeAPIKey 的值不能含有换行、回车、制表符等控制字符\n用法见 tavi --help\n");
    EXPECT_EQ(sandbox.run({"config", "get", "claudeAPIKey"}).out, "\n");

    std::ofstream(sandbox.configFile(), std::ios::app) << "deepLAPIKey=dk-SECRET\\r\\nX-Injected: yes\n";
    const CliResult r = sandbox.run({"translate", "--provider", "deepl", "hello"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "翻译失败：请求头 Authorization 含有换行、回车或空字符等不允许的字符，请求未发送；"
                     "请检查该服务的密钥等设置\n");
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
