/// Files in memory, below the folders that the board has.
///
/// The same paths are allowed as on a real board.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "platform/Board.h"
#include "platform/virtual/RuleChecks.h"
#include "platform/virtual/Scheduler.h"

namespace photometer::platform {

class VirtualFiles final : public Files {
 public:
  /// Makes the folders that every board has: \NANDFlash\Logging, \SDMemory, \Application.
  VirtualFiles(Scheduler& scheduler, RuleChecks& checks);

  void MakeFolder(const std::u16string& path);
  void RemoveFolder(const std::u16string& path);
  void SetDiskFull(const std::u16string& path, bool bFull);

  bool Append(const std::u16string& path, std::string_view bytes) override;
  bool Replace(const std::u16string& path, std::string_view bytes) override;
  std::optional<std::string> Read(const std::u16string& path, std::size_t nLimit) override;
  std::optional<FileStatus> GetStatus(const std::u16string& path) override;
  bool CreateDirectory(const std::u16string& path) override;
  bool Copy(const std::u16string& from, const std::u16string& to) override;
  bool Delete(const std::u16string& path) override;
  std::u16string GetModuleFileName() override;

 private:
  struct Node {
    bool bDirectory = false;
    std::string bytes;
  };

  Node* Find(const std::string& normalPath);
  /// The file to write to, made if need be; null: the path, its folder or the disk does not allow it.
  Node* FileForWriting(const std::u16string& path);
  [[nodiscard]] bool IsDiskFull(const std::string& normalPath) const;

  Scheduler& m_scheduler;
  RuleChecks& m_checks;
  /// By normal path, `\A\B`. The root is the empty path.
  std::map<std::string, Node> m_nodes;
  std::set<std::string> m_fullDisks;
};

}  // namespace photometer::platform
