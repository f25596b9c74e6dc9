#include "platform/Platform.h"

namespace photometer::platform {

DWORD GetFileAttributesW(const char16_t* path) {
  const std::optional<FileStatus> status = FindFirstFileW(path);
  if (!status.has_value()) {
    return INVALID_FILE_ATTRIBUTES;
  }
  return status->bDirectory ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

std::optional<FileStatus> FindFirstFileW(const char16_t* path) { return CurrentBoard().GetFiles().GetStatus(path); }

BOOL CreateDirectoryW(const char16_t* path) { return CurrentBoard().GetFiles().CreateDirectory(path) ? TRUE : FALSE; }

BOOL CopyFileW(const char16_t* from, const char16_t* to) {
  return CurrentBoard().GetFiles().Copy(from, to) ? TRUE : FALSE;
}

BOOL DeleteFileW(const char16_t* path) { return CurrentBoard().GetFiles().Delete(path) ? TRUE : FALSE; }

BOOL AppendFileW(const char16_t* path, std::string_view bytes) {
  return CurrentBoard().GetFiles().Append(path, bytes) ? TRUE : FALSE;
}

BOOL ReplaceFileW(const char16_t* path, std::string_view bytes) {
  return CurrentBoard().GetFiles().Replace(path, bytes) ? TRUE : FALSE;
}

std::optional<std::string> LoadFileW(const char16_t* path, std::size_t nLimit) {
  return CurrentBoard().GetFiles().Read(path, nLimit);
}

std::u16string GetModuleFileNameW() { return CurrentBoard().GetFiles().GetModuleFileName(); }

}  // namespace photometer::platform
