#include "platform/virtual/VirtualFiles.h"

#include <algorithm>
#include <vector>

#include "platform/InstrumentPath.h"
#include "platform/Platform.h"
#include "platform/Sanitizers.h"

namespace photometer::platform {

namespace {

/// The path's parts, each behind a backslash; the root is empty. Nothing when the path is not allowed.
std::optional<std::string> NormalPath(const std::u16string& path) {
  const std::optional<std::vector<std::string>> names = SplitInstrumentPath(path);
  if (!names.has_value()) {
    return std::nullopt;
  }
  std::string normal;
  for (const std::string& name : *names) {
    normal += '\\' + name;
  }
  return normal;
}

std::string ParentOf(const std::string& normalPath) { return normalPath.substr(0, normalPath.rfind('\\')); }

bool IsBelow(std::string_view path, std::string_view folder) {
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '\\');
}

}  // namespace

VirtualFiles::VirtualFiles(Scheduler& scheduler, RuleChecks& checks) : m_scheduler(scheduler), m_checks(checks) {
  m_nodes[""].bDirectory = true;
  for (const char16_t* folder : {u"\\NANDFlash\\Logging", u"\\SDMemory", u"\\Application"}) {
    MakeFolder(folder);
  }
}

// ---- the world around it ----

void VirtualFiles::MakeFolder(const std::u16string& path) {
  std::optional<std::string> folder = NormalPath(path);
  while (folder.has_value() && !folder->empty()) {
    m_nodes[*folder].bDirectory = true;
    folder = ParentOf(*folder);
  }
}

void VirtualFiles::RemoveFolder(const std::u16string& path) {
  const std::optional<std::string> folder = NormalPath(path);
  if (folder.has_value()) {
    std::erase_if(m_nodes, [&folder](const auto& node) { return IsBelow(node.first, *folder); });
  }
}

void VirtualFiles::SetDiskFull(const std::u16string& path, bool bFull) {
  const std::optional<std::string> folder = NormalPath(path);
  if (folder.has_value() && bFull) {
    m_fullDisks.insert(*folder);
  } else if (folder.has_value()) {
    m_fullDisks.erase(*folder);
  }
}

bool VirtualFiles::IsDiskFull(const std::string& normalPath) const {
  return std::ranges::any_of(m_fullDisks, [&](const auto& folder) { return IsBelow(normalPath, folder); });
}

// ---- the service ----

VirtualFiles::Node* VirtualFiles::Find(const std::string& normalPath) {
  const auto found = m_nodes.find(normalPath);
  return found == m_nodes.end() ? nullptr : &found->second;
}

VirtualFiles::Node* VirtualFiles::FileForWriting(const std::u16string& path) {
  m_checks.StorageWriteBegins(m_scheduler.Current(), ToUtf8(path));
  const std::optional<std::string> normal = NormalPath(path);
  if (!normal.has_value() || normal->empty() || IsDiskFull(*normal)) {
    return nullptr;
  }
  const Node* pParent = Find(ParentOf(*normal));
  if (pParent == nullptr || !pParent->bDirectory) {
    return nullptr;
  }
  Node& node = m_nodes[*normal];
  return node.bDirectory ? nullptr : &node;
}

bool VirtualFiles::Append(const std::u16string& path, std::string_view bytes) {
  const std::string copy(bytes);
  const UnobservedScope scope;
  m_scheduler.Point("AppendFileW");
  Node* pFile = FileForWriting(path);
  if (pFile == nullptr) {
    return false;
  }
  pFile->bytes += copy;
  return true;
}

bool VirtualFiles::Replace(const std::u16string& path, std::string_view bytes) {
  const std::string copy(bytes);
  const UnobservedScope scope;
  m_scheduler.Point("ReplaceFileW");
  Node* pFile = FileForWriting(path);
  if (pFile == nullptr) {
    return false;
  }
  pFile->bytes = copy;
  return true;
}

std::optional<std::string> VirtualFiles::Read(const std::u16string& path, std::size_t nLimit) {
  const UnobservedScope scope;
  m_scheduler.Point("LoadFileW");
  const std::optional<std::string> normal = NormalPath(path);
  const Node* pFile = normal.has_value() ? Find(*normal) : nullptr;
  if (pFile == nullptr || pFile->bDirectory || pFile->bytes.size() > nLimit) {
    return std::nullopt;
  }
  return pFile->bytes;
}

std::optional<FileStatus> VirtualFiles::GetStatus(const std::u16string& path) {
  const UnobservedScope scope;
  m_scheduler.Point("GetFileAttributesW");
  const std::optional<std::string> normal = NormalPath(path);
  const Node* pNode = normal.has_value() ? Find(*normal) : nullptr;
  if (pNode == nullptr) {
    return std::nullopt;
  }
  return FileStatus{pNode->bDirectory, pNode->bytes.size()};
}

bool VirtualFiles::CreateDirectory(const std::u16string& path) {
  const UnobservedScope scope;
  m_scheduler.Point("CreateDirectoryW");
  const std::optional<std::string> normal = NormalPath(path);
  if (!normal.has_value() || Find(*normal) != nullptr || IsDiskFull(*normal)) {
    return false;
  }
  const Node* pParent = Find(ParentOf(*normal));
  if (pParent == nullptr || !pParent->bDirectory) {
    return false;
  }
  m_nodes[*normal].bDirectory = true;
  return true;
}

bool VirtualFiles::Copy(const std::u16string& from, const std::u16string& to) {
  const UnobservedScope scope;
  m_scheduler.Point("CopyFileW");
  const std::optional<std::string> source = NormalPath(from);
  const Node* pSource = source.has_value() ? Find(*source) : nullptr;
  if (pSource == nullptr || pSource->bDirectory) {
    return false;
  }
  const std::string bytes = pSource->bytes;
  Node* pTarget = FileForWriting(to);
  if (pTarget == nullptr) {
    return false;
  }
  pTarget->bytes = bytes;
  return true;
}

bool VirtualFiles::Delete(const std::u16string& path) {
  const UnobservedScope scope;
  m_scheduler.Point("DeleteFileW");
  const std::optional<std::string> normal = NormalPath(path);
  const Node* pFile = normal.has_value() ? Find(*normal) : nullptr;
  return pFile != nullptr && !pFile->bDirectory && m_nodes.erase(*normal) == 1;
}

std::u16string VirtualFiles::GetModuleFileName() { return u"\\Application\\Photometer.exe"; }

}  // namespace photometer::platform
