#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavi {

// Where Tesseract's trained models are: $TESSDATA_PREFIX when it is set
// (Tesseract 5 takes it as the tessdata folder itself), else the folder of
// Debian's tesseract-ocr packages.
std::filesystem::path tessdataDirectory();

// The model ("chi_sim") that reads the language of a recognition locale tag
// ("zh-Hans"); nothing for a tag no model here reads.
std::optional<std::string_view> tesseractModel(std::string_view locale);

// The models to load for the chosen locale tags, as Tesseract reads them
// best together:
//  - one Chinese script only, the first chosen: with both, Tesseract swaps
//    characters between them ("这是" comes back as "這是");
//  - languages that put blanks between words first, the others (Chinese,
//    Japanese, Thai) after, each group in the chosen order: the first
//    model sets the word spacing, and Chinese first runs English words
//    together ("foxjumps overthe"). The blanks it puts between Chinese
//    characters the other way round are taken out afterwards.
// Tags no model reads are left out.
std::vector<std::string> tesseractLanguages(const std::vector<std::string>& locales);

// The locale tags of the models installed in `directory`, in the order of
// the recognition languages; models of other languages (and osd) are left
// out. Nothing when the folder cannot be read.
std::optional<std::vector<std::string>> installedRecognitionLocales(const std::filesystem::path& directory);

}  // namespace tavi
