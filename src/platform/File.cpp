#include "platform/Platform.h"

namespace photometer::platform {

DWORD GetFileAttributesW(const char16_t* path, CallSite site) {
  const std::optional<FileStatus> status = FindFirstFileW(path, site);
  if (!status.has_value()) {
    return INVALID_FILE_ATTRIBUTES;
  }
  return status->bDirectory ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

std::optional<FileStatus> FindFirstFileW(const char16_t* path, CallSite site) {
  return CallFails(LayerCall::FindFirstFileW, site) ? std::nullopt : CurrentBoard().GetFiles().GetStatus(path);
}

BOOL CreateDirectoryW(const char16_t* path, CallSite site) {
  if (CallFails(LayerCall::CreateDirectoryW, site)) {
    return FALSE;
  }
  return CurrentBoard().GetFiles().CreateDirectory(path) ? TRUE : FALSE;
}

BOOL CopyFileW(const char16_t* from, const char16_t* to, CallSite site) {
  if (CallFails(LayerCall::CopyFileW, site)) {
    return FALSE;
  }
  return CurrentBoard().GetFiles().Copy(from, to) ? TRUE : FALSE;
}

BOOL DeleteFileW(const char16_t* path, CallSite site) {
  if (CallFails(LayerCall::DeleteFileW, site)) {
    return FALSE;
  }
  return CurrentBoard().GetFiles().Delete(path) ? TRUE : FALSE;
}

BOOL AppendFileW(const char16_t* path, std::string_view bytes, CallSite site) {
  if (CallFails(LayerCall::AppendFileW, site)) {
    return FALSE;
  }
  return CurrentBoard().GetFiles().Append(path, bytes) ? TRUE : FALSE;
}

BOOL ReplaceFileW(const char16_t* path, std::string_view bytes, CallSite site) {
  if (CallFails(LayerCall::ReplaceFileW, site)) {
    return FALSE;
  }
  return CurrentBoard().GetFiles().Replace(path, bytes) ? TRUE : FALSE;
}

std::optional<std::string> LoadFileW(const char16_t* path, std::size_t nLimit, CallSite site) {
  return CallFails(LayerCall::LoadFileW, site) ? std::nullopt : CurrentBoard().GetFiles().Read(path, nLimit);
}

std::u16string GetModuleFileNameW(CallSite site) {
  return CallFails(LayerCall::GetModuleFileNameW, site) ? std::u16string()
                                                        : CurrentBoard().GetFiles().GetModuleFileName();
}

}  // namespace photometer::platform
