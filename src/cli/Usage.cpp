#include <cstdio>

#include "cli/Commands.h"

namespace tavi::cli {

std::string helpText() {
    return R"(tavi：划词、复制、截图与输入翻译工具

用法：
  tavi                         启动托盘程序（需要 X11 桌面；Wayland 会话经由 XWayland）：
                               托盘菜单、全局快捷键、划词与复制翻译、鼠标旁的翻译浮窗
  tavi show | selection | screenshot | clipboard | settings | quit
                               让正在运行的 Tavi 执行一个操作（没有运行时先启动它，quit 除外）：
                               打开翻译窗口、翻译选中文字、截图翻译、切换剪贴板监听、偏好设置、退出。
                               可在桌面的快捷键设置里绑定（Wayland 上全局快捷键的替代）；
                               经由 D-Bus 会话总线，没有会话总线时失败并返回 1
  tavi translate [--provider ID] [--from CODE] [--to CODE] [--json] [TEXT...]
      翻译 TEXT（各词以一个空格连接）；没有 TEXT 或 TEXT 为 "-" 时读取标准输入。
      文本两端的空白和换行会被去掉。--provider、--from、--to 只对本次翻译生效，
      不会写入设置。语言代码：auto zh zh-TW en ja ko fr de es pt it ru ar th vi。
      --json 输出一个 JSON 对象（sourceText、translatedText、sourceLanguage、
      targetLanguage、provider、detectedLanguage）。
  tavi config list             按顺序列出全部设置（密钥以掩码显示）
  tavi config get KEY          输出一项设置的值
  tavi config set KEY VALUE    修改一项设置（快捷键使用 {"keyCode":17,"modifiers":2048} 形式）
  tavi config unset KEY        删除一项设置，恢复默认值
                               启动上报的设备标识 startupReportDeviceId 也可 get 与 unset
                               （删除后下次上报生成新的标识）；它不是用户设置，不在 list 中
  tavi providers               列出翻译服务：标识、名称、是否已配置、是否为当前服务
  tavi report                  立即发送一次启动上报（与托盘程序启动时相同），成功时输出所发送的 JSON
  tavi --help                  显示本帮助
  tavi --version               显示版本

退出码：0 成功；1 翻译失败、启动上报失败或未配置、设置被拒绝或无法保存；2 命令行用法错误。
托盘程序在用户退出时返回 0，无法启动（没有图形桌面）时返回 1；已有 Tavi 在运行时，
再次启动的 tavi 保留正在运行的那个并返回 0。由操作命令启动的 Tavi 把日志写到
$XDG_STATE_HOME/tavi/tavi.log。

设置保存在 $XDG_CONFIG_HOME/tavi/tavi.conf（仅本人可读写）。
环境变量 TAVI_CONNECT_TO（HOST:PORT:CONNECT_HOST:CONNECT_PORT，逗号分隔）和
TAVI_CA_BUNDLE（受信任的 CA 证书 PEM 文件）用于经由 TLS 检查代理或测试服务器连接；
http_proxy、https_proxy、no_proxy 等标准代理变量同样有效。
启动上报的地址和私钥由构建指定（CMake 变量 TAVI_REPORT_URL、TAVI_REPORT_KEY_FILE），
同名环境变量优先：TAVI_REPORT_URL 为分析服务地址（上报发往其 /api/report），
TAVI_REPORT_KEY_FILE 为保存私钥（PKCS#8 的 base64 文本）的文件；设为空值即不上报。
)";
}

int usageError(const std::string& message) {
    std::fprintf(stderr, "tavi: %s\n用法见 tavi --help\n", message.c_str());
    return kExitUsage;
}

}  // namespace tavi::cli
