#include "platform/virtual/CallSiteScan.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

namespace photometer::platform {

namespace {

/// Functions that count as another one.
constexpr std::array<std::pair<std::string_view, LayerCall>, 4> Aliases = {
    {{"SetEvent", LayerCall::EventModify},
     {"ResetEvent", LayerCall::EventModify},
     {"WaitForSingleObject", LayerCall::WaitForMultipleObjects},
     {"GetFileAttributesW", LayerCall::FindFirstFileW}}};
/// Words that may stand before a call; before a declaration stands a type.
constexpr std::array<std::string_view, 3> WordsBeforeCalls = {"return", "else", "throw"};
constexpr std::array<std::string_view, 2> FoldersLeftOut = {"platform", "simulator"};

bool IsWord(char character) { return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_'; }

std::optional<LayerCall> CallOf(std::string_view name) {
  const auto* const pAlias = std::ranges::find(Aliases, name, &std::pair<std::string_view, LayerCall>::first);
  return pAlias != Aliases.end() ? pAlias->second : LayerCallNamed(name);
}

/// Where the comment, text or character that begins at `nBegin` ends; `nBegin` itself when none begins there.
std::size_t EndOfNoCode(std::string_view text, std::size_t nBegin) {
  const auto behind = [text](std::size_t nFound, std::size_t nLength) {
    return nFound == std::string_view::npos ? text.size() : nFound + nLength;
  };
  if (text.substr(nBegin, 2) == "//") {
    return behind(text.find('\n', nBegin), 0);
  }
  if (text.substr(nBegin, 2) == "/*") {
    return behind(text.find("*/", nBegin + 2), 2);
  }
  const char cQuote = text[nBegin];
  // In a number it separates digits.
  const bool bSeparator = cQuote == '\'' && nBegin > 0 && std::isdigit(static_cast<unsigned char>(text[nBegin - 1]));
  if ((cQuote != '"' && cQuote != '\'') || bSeparator) {
    return nBegin;
  }
  std::size_t nEnd = nBegin + 1;
  while (nEnd < text.size() && text[nEnd] != cQuote) {
    nEnd += text[nEnd] == '\\' ? 2 : 1;
  }
  return std::min(nEnd + 1, text.size());
}

/// The text with blanks in the place of comments, texts and characters; lines stay lines.
std::string CodeOnly(std::string_view text) {
  std::string code(text);
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t nEnd = EndOfNoCode(text, i);
    const auto first = code.begin() + static_cast<std::ptrdiff_t>(i);
    const auto last = code.begin() + static_cast<std::ptrdiff_t>(nEnd);
    std::replace_if(
        first, last, [](char character) { return character != '\n'; }, ' ');
    i = std::max(nEnd, i + 1);
  }
  return code;
}

/// Whether a name with this before it is called as a plain function.
bool CallMayFollow(std::string_view before) {
  if (before.ends_with("platform::")) {
    return true;
  }
  const std::size_t nLast = before.find_last_not_of(" \n");
  if (nLast == std::string_view::npos) {
    return true;
  }
  before = before.substr(0, nLast + 1);
  if (before.ends_with("::") || before.ends_with('.') || before.ends_with("->")) {
    return false;
  }
  const auto word = std::find_if_not(before.rbegin(), before.rend(), IsWord);
  const std::string_view last = before.substr(static_cast<std::size_t>(before.rend() - word));
  return last.empty() ? !before.ends_with('*') : std::ranges::count(WordsBeforeCalls, last);
}

bool IsLeftOut(const std::filesystem::path& belowSources) {
  return std::ranges::count(FoldersLeftOut, belowSources.begin()->string()) > 0;
}

}  // namespace

std::vector<SiteName> CallSitesIn(std::string_view text, const std::string& file) {
  const std::string code = CodeOnly(text);
  std::vector<SiteName> sites;
  unsigned nLine = 1;
  for (std::size_t i = 0; i < code.size();) {
    const std::size_t nEnd = static_cast<std::size_t>(
        std::find_if_not(code.begin() + static_cast<std::ptrdiff_t>(i), code.end(), IsWord) - code.begin());
    if (nEnd == i) {
      nLine += code[i++] == '\n' ? 1 : 0;
      continue;
    }
    const std::string_view name = std::string_view(code).substr(i, nEnd - i);
    const bool bCall = nEnd < code.size() && code[nEnd] == '(';
    const std::optional<LayerCall> call = bCall ? CallOf(name) : std::nullopt;
    if (call.has_value() && CallMayFollow(std::string_view(code).substr(0, i))) {
      sites.push_back({file, nLine, *call});
    }
    i = nEnd;
  }
  return sites;
}

std::vector<SiteName> CallSitesBelow(const std::string& sourceFolder) {
  const std::filesystem::path root(sourceFolder);
  std::vector<SiteName> sites;
  std::error_code error;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root / "src", error)) {
    const std::filesystem::path& path = entry.path();
    const bool bSource = path.extension() == ".cpp" || path.extension() == ".h";
    if (!bSource || IsLeftOut(path.lexically_relative(root / "src"))) {
      continue;
    }
    std::ifstream stream(path, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    const std::vector<SiteName> more = CallSitesIn(text, path.lexically_relative(root).generic_string());
    sites.insert(sites.end(), more.begin(), more.end());
  }
  std::sort(sites.begin(), sites.end());
  sites.erase(std::unique(sites.begin(), sites.end()), sites.end());
  return sites;
}

std::vector<SiteName> NeverReached(const std::vector<SiteName>& all, const std::vector<ReachedSite>& reached) {
  std::vector<SiteName> never;
  std::ranges::copy_if(all, std::back_inserter(never), [&reached](const SiteName& site) {
    return std::ranges::find(reached, site, &ReachedSite::name) == reached.end();
  });
  return never;
}

}  // namespace photometer::platform
