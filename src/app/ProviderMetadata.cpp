#include "app/ProviderMetadata.h"

#include <array>

namespace tavi {
namespace {

struct CatalogEntry {
    std::string_view id;
    ProviderMetadata metadata;
};

const std::array<CatalogEntry, 7> kCatalog{{
    {"openai",
     {"sparkles.rectangle.stack", "适合通用翻译与自定义模型配置", "支持自定义 Base URL，适合官方 API、代理或兼容网关。",
      "green", "https://platform.openai.com/api-keys"}},
    {"claude",
     {"text.bubble", "偏强文本理解，适合长句与上下文翻译", "填写 API Key 和模型名即可开始使用 Claude 翻译。", "orange",
      "https://console.anthropic.com/settings/keys"}},
    {"deepl",
     {"globe.europe.africa", "专业翻译服务，适合高质量欧语翻译", "如果你使用 Pro 账户，请开启 Pro 账户端点。", "blue",
      "https://www.deepl.com/account/summary"}},
    {"google",
     {"globe", "接入简单，适合多语言基础翻译", "请先在 Google Cloud 中启用 Translation API 并创建凭证。", "red",
      "https://console.cloud.google.com/apis/credentials"}},
    {"baidu",
     {"character.book.closed", "中文场景友好，适合国内网络环境", "百度翻译需要同时填写 APP ID 与密钥。", "purple",
      "https://fanyi-api.baidu.com/manage/developer"}},
    {"aliyun",
     {"cloud", "阿里云机器翻译，使用通用版文本翻译",
      "请先开通机器翻译通用版，并为 AccessKey 授予翻译权限。单次最多 5,000 字符；繁体中文仅支持与简体中文互译。",
      "orange", "https://ram.console.aliyun.com/manage/ak"}},
    {"volcano",
     {"flame", "火山引擎翻译，适合字节生态用户", "请确认 Access Key 已开通对应翻译服务权限。", "pink",
      "https://console.volcengine.com/iam/keymanage"}},
}};

const ProviderMetadata kUnknown{"puzzlepiece", "配置该服务商后即可用于翻译", "填写对应凭证以启用该服务商。", "gray",
                                std::nullopt};

using enum ProviderFieldKind;

const ProviderField kOpenAIFields[] = {
    {"API Key", secure, "输入 OpenAI API Key", "openAIAPIKey"},
    {"模型", plain, "例如 gpt-4o-mini", "openAIModel"},
    {"Base URL", plain, "可选，用于代理或兼容服务", "openAIBaseURL"},
};
const ProviderField kClaudeFields[] = {
    {"API Key", secure, "输入 Claude API Key", "claudeAPIKey"},
    {"模型", plain, "例如 claude-haiku-4-5-20251001", "claudeModel"},
};
const ProviderField kDeepLFields[] = {
    {"API Key", secure, "输入 DeepL API Key", "deepLAPIKey"},
    {"账户类型", toggle, "使用 Pro 账户端点", "deepLIsPro"},
};
const ProviderField kGoogleFields[] = {
    {"API Key", secure, "输入 Google Cloud API Key", "googleAPIKey"},
};
const ProviderField kBaiduFields[] = {
    {"APP ID", plain, "输入百度翻译 APP ID", "baiduAppID"},
    {"密钥", secure, "输入百度翻译密钥", "baiduSecretKey"},
};
const ProviderField kAliyunFields[] = {
    {"AccessKey ID", plain, "输入阿里云 AccessKey ID", "aliyunAccessKeyID"},
    {"AccessKey Secret", secure, "输入阿里云 AccessKey Secret", "aliyunAccessKeySecret"},
};
const ProviderField kVolcanoFields[] = {
    {"Access Key ID", plain, "输入火山引擎 Access Key ID", "volcanoAccessKeyID"},
    {"Secret Access Key", secure, "输入火山引擎 Secret Access Key", "volcanoSecretAccessKey"},
};

struct FieldsEntry {
    std::string_view id;
    std::span<const ProviderField> fields;
};

const FieldsEntry kFields[] = {
    {"openai", kOpenAIFields}, {"claude", kClaudeFields}, {"deepl", kDeepLFields},     {"google", kGoogleFields},
    {"baidu", kBaiduFields},   {"aliyun", kAliyunFields}, {"volcano", kVolcanoFields},
};

}  // namespace

const ProviderMetadata& providerMetadata(std::string_view providerID) {
    for (const CatalogEntry& entry : kCatalog)
        if (entry.id == providerID) return entry.metadata;
    return kUnknown;
}

std::span<const ProviderField> providerFields(std::string_view providerID) {
    for (const FieldsEntry& entry : kFields)
        if (entry.id == providerID) return entry.fields;
    return {};
}

}  // namespace tavi
