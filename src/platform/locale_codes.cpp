#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "platform/platform.h"

namespace vek::platform {
namespace {

struct LocaleCode {
  std::string_view locale;
  std::string_view code;
};

// The system's own abbreviations where they are not the plain rule below.
constexpr std::array<LocaleCode, 36> kLocaleCodes = {{
    {"en_US", "ENU"}, {"en_GB", "ENG"}, {"en_AU", "ENA"}, {"en_CA", "ENC"}, {"en_NZ", "ENZ"}, {"en_IE", "ENI"},
    {"de_DE", "DEU"}, {"de_AT", "DEA"}, {"de_CH", "DES"}, {"fr_FR", "FRA"}, {"fr_CA", "FRC"}, {"fr_BE", "FRB"},
    {"fr_CH", "FRS"}, {"es_ES", "ESN"}, {"es_MX", "ESM"}, {"it_IT", "ITA"}, {"ja_JP", "JPN"}, {"ko_KR", "KOR"},
    {"zh_CN", "CHS"}, {"zh_TW", "CHT"}, {"zh_HK", "ZHH"}, {"pt_BR", "PTB"}, {"pt_PT", "PTG"}, {"nl_NL", "NLD"},
    {"nl_BE", "NLB"}, {"ru_RU", "RUS"}, {"sv_SE", "SVE"}, {"da_DK", "DAN"}, {"nb_NO", "NOR"}, {"fi_FI", "FIN"},
    {"pl_PL", "PLK"}, {"cs_CZ", "CSY"}, {"hu_HU", "HUN"}, {"tr_TR", "TRK"}, {"el_GR", "ELL"}, {"uk_UA", "UKR"},
}};

char Upper(char c) { return char(std::toupper(static_cast<unsigned char>(c))); }
bool IsLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

}  // namespace

std::string LanguageCodeForLocale(const std::string& locale) {
  // "de_DE.UTF-8@euro" -> language "de", territory "DE".
  const std::string_view name = std::string_view(locale).substr(0, locale.find_first_of(".@"));
  const std::size_t underscore = name.find('_');
  const std::string_view language = name.substr(0, underscore);
  const std::string_view territory = underscore == std::string_view::npos ? "" : name.substr(underscore + 1);
  if (language.size() < 2 || !std::all_of(language.begin(), language.end(), IsLetter)) return "ENU";

  for (const LocaleCode& entry : kLocaleCodes) {
    const bool sameLanguage = entry.locale.substr(0, 2) == language;
    if (sameLanguage && (territory.empty() || entry.locale.substr(3) == territory)) return std::string(entry.code);
  }
  // Unlisted: the language letters upper-cased, then the territory's first letter (the language's
  // own first letter when there is no territory).
  const char third = territory.empty() ? language[0] : territory[0];
  return {Upper(language[0]), Upper(language[1]), Upper(third)};
}

}  // namespace vek::platform
