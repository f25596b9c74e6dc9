/// A serial line without a wire: the program holds one end, a host opens the other by its path.
#pragma once

#include <string>
#include <string_view>

namespace serving {

class PseudoTerminal {
 public:
  /// Throws `std::system_error` when the system has none to give.
  PseudoTerminal();
  ~PseudoTerminal();
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  /// The device that a host opens.
  [[nodiscard]] const std::string& Path() const { return m_strPath; }
  /// For poll.
  [[nodiscard]] int Descriptor() const { return m_iMaster; }
  /// What the host has written; empty when nothing is there. Does not block.
  std::string Read();
  /// Hands bytes to the host as far as the line takes them without blocking; returns how many it took.
  std::size_t Write(std::string_view bytes);
  /// Bytes that were handed over and that no host has read.
  [[nodiscard]] std::size_t Unread() const;
  /// Takes them back.
  void DropUnread();

 private:
  int m_iMaster;
  /// Held open, so that the line survives a host that closes it, and is raw before one opens it.
  int m_iSlave = -1;
  std::string m_strPath;
};

}  // namespace serving
