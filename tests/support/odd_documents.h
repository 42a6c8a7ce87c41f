// Encodings documents of every kind, well-formed and not, for differential tests of the load.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <random>
#include <string>

namespace quillon::test {

/// A document of up to 4 blocks that keeps every rule. Its numbers are of all kinds, those at the
/// edges of float32 and of whole numbers among them; codes are few, so that some are duplicates.
nlohmann::json wellFormedDocument(std::mt19937& random);

/// How many ways `makeIllFormed` knows.
extern const std::size_t illFormedCount;

/// Breaks one rule (number `kind`) at a random place of `document`. Returns the rule's name.
std::string makeIllFormed(nlohmann::json& document, std::size_t kind, std::mt19937& random);

/// How many ways `damageText` knows.
extern const std::size_t damageCount;

/// Changes the text of a JSON document in a way that no encoder would. Returns what was done.
std::string damageText(std::string& text, std::size_t kind, std::mt19937& random);

}  // namespace quillon::test
