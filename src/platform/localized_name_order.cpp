#include "platform/localized_name_order.h"

#include <algorithm>
#include <cctype>
#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/stringpiece.h>

namespace brindlemux {
namespace {

/// A session without a language reports the POSIX locale, whose alphabet has all capitals before all small letters.
icu::Locale nameLocale() {
  const icu::Locale& current = icu::Locale::getDefault();
  return std::string_view(current.getVariant()) == "POSIX" ? icu::Locale::getRoot() : current;
}

icu::StringPiece piece(std::string_view text) { return {text.data(), static_cast<std::int32_t>(text.size())}; }

/// What remains when the collation data are missing.
bool precedesAsASCII(std::string_view left, std::string_view right) {
  return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) < std::tolower(static_cast<unsigned char>(b));
  });
}

}  // namespace

struct LocalizedNameOrder::Collation {
  std::unique_ptr<icu::Collator> collator;
};

LocalizedNameOrder::LocalizedNameOrder() : collation_(std::make_unique<Collation>()) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(nameLocale(), status));
  if (U_FAILURE(status) || collator == nullptr) return;
  // The second strength tells letters and accents apart, but not capitals from small letters.
  collator->setStrength(icu::Collator::SECONDARY);
  collation_->collator = std::move(collator);
}

LocalizedNameOrder::~LocalizedNameOrder() = default;

bool LocalizedNameOrder::operator()(std::string_view left, std::string_view right) const {
  if (collation_->collator == nullptr) return precedesAsASCII(left, right);
  UErrorCode status = U_ZERO_ERROR;
  const UCollationResult order = collation_->collator->compareUTF8(piece(left), piece(right), status);
  return U_SUCCESS(status) != 0 && order == UCOL_LESS;
}

}  // namespace brindlemux
