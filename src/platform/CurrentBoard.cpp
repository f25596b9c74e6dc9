#include <atomic>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <mutex>

#include "platform/Board.h"
#include "platform/posix/PosixBoard.h"

namespace photometer::platform {

namespace {

constexpr const char* BoardFileVariable = "PHOTOMETER_BOARD";
constexpr const char* DefaultBoardFile = "/etc/photometer/board.toml";

std::atomic<Board*> currentBoard{nullptr};

std::string BoardFilePath() {
  const char* pPath = std::getenv(BoardFileVariable);
  return pPath == nullptr || *pPath == '\0' ? DefaultBoardFile : pPath;
}

/// The board of the board file, or null and the reason.
std::unique_ptr<PosixBoard> MakeDefaultBoard(std::string& reason) {
  const std::variant<BoardFile, std::string> file = BoardFile::Load(BoardFilePath());
  if (const std::string* pComplaint = std::get_if<std::string>(&file); pComplaint != nullptr) {
    reason = *pComplaint;
    return nullptr;
  }
  auto pBoard = std::make_unique<PosixBoard>(std::get<BoardFile>(file));
  reason = pBoard->Problem();
  return reason.empty() ? std::move(pBoard) : nullptr;
}

}  // namespace

Board* SetBoard(Board* pBoard) { return currentBoard.exchange(pBoard); }

Board& CurrentBoard() {
  Board* pBoard = currentBoard.load(std::memory_order_acquire);
  if (pBoard == nullptr) {
    std::cerr << "photometer: a function of the board was called before a board was set; call SetBoard or "
                 "OpenDefaultBoard first\n";
    std::abort();
  }
  return *pBoard;
}

bool OpenDefaultBoard() {
  // Never destroyed: a host's threads may use the board until the process ends.
  static Board* pDefaultBoard = nullptr;
  static std::mutex mutex;
  if (currentBoard.load(std::memory_order_acquire) != nullptr) {
    return true;
  }
  const std::lock_guard<std::mutex> lock(mutex);
  if (pDefaultBoard == nullptr) {
    std::string reason;
    pDefaultBoard = MakeDefaultBoard(reason).release();
    if (pDefaultBoard == nullptr) {
      std::cerr << "photometer: " << reason << "\n";
      return false;
    }
  }
  Board* pNone = nullptr;
  currentBoard.compare_exchange_strong(pNone, pDefaultBoard);
  return true;
}

}  // namespace photometer::platform
