#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "core/TranslationProvider.h"

namespace tavi {

// The seven clients in their fixed order. Built once; providers are stateless.
const std::vector<std::unique_ptr<TranslationProvider>>& allProviders();

// The first provider whose id matches exactly (case-sensitive), or nullptr.
const TranslationProvider* findProvider(std::string_view id);

}  // namespace tavi
