#include "platform/virtual/FailingCalls.h"

#include <charconv>
#include <map>
#include <mutex>
#include <tuple>

#include "platform/Board.h"
#include "platform/Sanitizers.h"

namespace photometer::platform {

namespace {

/// What stands before the names of all files of this build: nothing, an absolute folder, or a way up.
std::string_view SourcePrefix() {
  constexpr std::string_view ThisFile = "src/platform/virtual/FailingCalls.cpp";
  const std::string_view name = CallSite::Here().pFile;
  return name.ends_with(ThisFile) ? name.substr(0, name.size() - ThisFile.size()) : std::string_view();
}

/// The file's name relative to the source folder; as it is when it does not lie there.
std::string_view RelativeName(std::string_view file) {
  const std::string_view prefix = SourcePrefix();
  return file.starts_with(prefix) ? file.substr(prefix.size()) : file;
}

/// The n-th call fails, and those after it.
struct Choice {
  std::uint64_t nCall;
  HowOften howOften;
};

}  // namespace

bool SiteName::operator<(const SiteName& other) const {
  return std::tie(file, nLine, call) < std::tie(other.file, other.nLine, other.call);
}

std::string ToText(const SiteName& site) {
  return site.file + ':' + std::to_string(site.nLine) + ' ' + std::string(NameOf(site.call));
}

std::optional<SiteName> ParseSite(std::string_view text) {
  const std::size_t nSpace = text.rfind(' ');
  const std::size_t nColon = text.substr(0, nSpace).rfind(':');
  if (nSpace == std::string_view::npos || nColon == std::string_view::npos) {
    return std::nullopt;
  }
  const std::optional<LayerCall> call = LayerCallNamed(text.substr(nSpace + 1));
  const std::string_view digits = text.substr(nColon + 1, nSpace - nColon - 1);
  unsigned nLine = 0;
  const auto [pEnd, error] = std::from_chars(digits.data(), digits.data() + digits.size(), nLine);
  if (!call.has_value() || error != std::errc() || pEnd != digits.data() + digits.size()) {
    return std::nullopt;
  }
  return SiteName{std::string(text.substr(0, nColon)), nLine, *call};
}

// As with the transcript, nothing here may order what the calling threads do.
struct FailingCalls::State {
  std::mutex mutex;
  std::string folder = "src/";
  std::map<SiteName, std::uint64_t> counts;
  std::map<SiteName, Choice> choices;
  std::uint64_t nFailed = 0;

  bool CountAndJudge(const SiteName& name) {
    const std::uint64_t nCall = ++counts[name];
    const auto chosen = choices.find(name);
    if (chosen == choices.end() || nCall < chosen->second.nCall) {
      return false;
    }
    const bool bFails = nCall == chosen->second.nCall || chosen->second.howOften == HowOften::Always;
    nFailed += bFails ? 1 : 0;
    return bFails;
  }
};

FailingCalls::FailingCalls() : m_pState(std::make_unique<State>()), m_pBefore(SetCallHook(this)) {}

FailingCalls::~FailingCalls() { SetCallHook(m_pBefore); }

void FailingCalls::SetFolder(const std::string& folder) {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  m_pState->folder = folder;
}

void FailingCalls::Fail(const SiteName& site, std::uint64_t nCall, HowOften howOften) {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  const auto counted = m_pState->counts.find(site);
  const std::uint64_t nSoFar = counted == m_pState->counts.end() ? 0 : counted->second;
  m_pState->choices.insert_or_assign(site, Choice{nSoFar + nCall, howOften});
}

void FailingCalls::Restart() {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  m_pState->counts.clear();
  m_pState->choices.clear();
  m_pState->nFailed = 0;
}

std::vector<ReachedSite> FailingCalls::Reached() const {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  std::vector<ReachedSite> sites;
  for (const auto& [name, nCalls] : m_pState->counts) {
    sites.push_back({name, nCalls});
  }
  return sites;
}

std::uint64_t FailingCalls::Failed() const {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  return m_pState->nFailed;
}

bool FailingCalls::Fails(LayerCall call, const CallSite& site) {
  bool bFails = false;
  {
    const UnobservedScope scope;
    const std::lock_guard lock(m_pState->mutex);
    const std::string_view file = RelativeName(site.pFile);
    if (file.starts_with(m_pState->folder)) {
      bFails = m_pState->CountAndJudge({std::string(file), site.nLine, call});
    }
  }
  if (bFails) {
    // The failure takes its turn among the threads as the call would have.
    CurrentBoard().GetKernel().GetTickCount();
  }
  return bFails;
}

}  // namespace photometer::platform
