#include "platform/TracingBoard.h"

#include <map>
#include <mutex>
#include <utility>

#include "platform/Forwarding.h"
#include "platform/Platform.h"
#include "platform/Sanitizers.h"

namespace photometer::platform {

namespace {

/// Writes with the board's time. Asking it is no scheduling point on the virtual board: a traced run is the same run.
class Tracer {
 public:
  Tracer(Kernel& kernel, Transcript& transcript) : m_kernel(kernel), m_transcript(transcript) {}

  void Note(std::string_view channel, std::string_view text) const {
    m_transcript.Note(m_kernel.GetMicroseconds(), channel, text);
  }

 private:
  Kernel& m_kernel;
  Transcript& m_transcript;
};

/// What a tracing service remembers, for all threads. As the transcript, it orders nothing for the thread sanitizer.
template <typename Key, typename Value>
class Memory {
 public:
  /// True: the value is new or has changed.
  bool Put(const Key& key, const Value& value) {
    const UnobservedScope scope;
    const std::lock_guard lock(m_mutex);
    const auto [entry, bNew] = m_values.try_emplace(key, value);
    const bool bChanged = !bNew && !(entry->second == value);
    if (bChanged) {
      entry->second = value;
    }
    return bNew || bChanged;
  }

  Value Get(const Key& key) const {
    const UnobservedScope scope;
    const std::lock_guard lock(m_mutex);
    const auto entry = m_values.find(key);
    return entry == m_values.end() ? Value() : entry->second;
  }

  void Forget(const Key& key) {
    const UnobservedScope scope;
    const std::lock_guard lock(m_mutex);
    m_values.erase(key);
  }

 private:
  mutable std::mutex m_mutex;
  std::map<Key, Value> m_values;
};

std::string WithoutLineEnd(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
    text.pop_back();
  }
  return text;
}

class TracingSerialPorts final : public ForwardingSerialPorts {
 public:
  TracingSerialPorts(SerialPorts& target, const Tracer& tracer) : ForwardingSerialPorts(target), m_tracer(tracer) {}

  HANDLE Open(const std::u16string& name) override {
    const HANDLE handle = m_target.Open(name);
    if (handle != INVALID_HANDLE_VALUE) {
      m_names.Put(handle, ToUtf8(name.substr(0, name.find(u':'))));
    }
    return handle;
  }

  bool Read(HANDLE handle, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead) override {
    const bool bRead = m_target.Read(handle, pBuffer, dwBytes, pBytesRead);
    if (bRead && *pBytesRead > 0) {
      m_tracer.Note(m_names.Get(handle) + '<', {static_cast<const char*>(pBuffer), *pBytesRead});
    }
    return bRead;
  }

  bool Write(HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) override {
    const bool bWritten = m_target.Write(handle, pBuffer, dwBytes, pBytesWritten);
    if (bWritten) {
      m_tracer.Note(m_names.Get(handle) + '>', {static_cast<const char*>(pBuffer), *pBytesWritten});
    }
    return bWritten;
  }

  bool Close(HANDLE handle) override {
    const bool bClosed = m_target.Close(handle);
    m_names.Forget(handle);
    return bClosed;
  }

 private:
  const Tracer& m_tracer;
  Memory<HANDLE, std::string> m_names;
};

class TracingPins final : public ForwardingPins {
 public:
  TracingPins(Pins& target, const Tracer& tracer) : ForwardingPins(target), m_tracer(tracer) {}

  bool SetOutput(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwLevel) override {
    const bool bSet = m_target.SetOutput(handle, dwPort, dwPin, dwLevel);
    if (bSet) {
      m_tracer.Note("pin", PinText("out ", dwPort, dwPin, dwLevel));
    }
    return bSet;
  }

  DWORD GetInput(HANDLE handle, DWORD dwPort, DWORD dwPin) override {
    const DWORD dwLevel = m_target.GetInput(handle, dwPort, dwPin);
    if (m_levels.Put({dwPort, dwPin}, dwLevel)) {
      m_tracer.Note("pin", PinText("in ", dwPort, dwPin, dwLevel));
    }
    return dwLevel;
  }

 private:
  static std::string PinText(const char* direction, DWORD dwPort, DWORD dwPin, DWORD dwLevel) {
    const std::string level = dwLevel <= 1 ? std::to_string(dwLevel) : "unreadable";
    return direction + std::to_string(dwPort) + '/' + std::to_string(dwPin) + " = " + level;
  }

  const Tracer& m_tracer;
  Memory<std::pair<DWORD, DWORD>, DWORD> m_levels;
};

class TracingFiles final : public ForwardingFiles {
 public:
  TracingFiles(Files& target, const Tracer& tracer) : ForwardingFiles(target), m_tracer(tracer) {}

  bool Append(const std::u16string& path, std::string_view bytes) override {
    const bool bAppended = m_target.Append(path, bytes);
    if (bAppended) {
      const std::string name = ToUtf8(path.substr(path.rfind(u'\\') + 1));
      const std::string prefix = name == "Photometer.log" ? "" : name + ": ";
      m_tracer.Note("log", prefix + WithoutLineEnd(std::string(bytes)));
    }
    return bAppended;
  }

 private:
  const Tracer& m_tracer;
};

class TracingRegistry final : public ForwardingRegistry {
 public:
  TracingRegistry(Registry& target, const Tracer& tracer) : ForwardingRegistry(target), m_tracer(tracer) {}

  bool SetValue(HANDLE key, const std::u16string& name, DWORD dwValue) override {
    const bool bSet = m_target.SetValue(key, name, dwValue);
    if (bSet) {
      m_tracer.Note("registry", ToUtf8(name) + " = " + std::to_string(dwValue));
    }
    return bSet;
  }

 private:
  const Tracer& m_tracer;
};

class TracingDebugOutput final : public ForwardingDebugOutput {
 public:
  TracingDebugOutput(DebugOutput& target, const Tracer& tracer) : ForwardingDebugOutput(target), m_tracer(tracer) {}

  void Write(std::u16string_view text) override {
    m_target.Write(text);
    m_tracer.Note("debug", WithoutLineEnd(WideCharToMultiByte(text)));
  }

 private:
  const Tracer& m_tracer;
};

}  // namespace

struct TracingBoard::Services {
  Services(Board& board, Transcript& transcript)
      : target(board),
        tracer(board.GetKernel(), transcript),
        serialPorts(board.GetSerialPorts(), tracer),
        pins(board.GetPins(), tracer),
        files(board.GetFiles(), tracer),
        registry(board.GetRegistry(), tracer),
        debugOutput(board.GetDebugOutput(), tracer) {}

  Board& target;
  Tracer tracer;
  TracingSerialPorts serialPorts;
  TracingPins pins;
  TracingFiles files;
  TracingRegistry registry;
  TracingDebugOutput debugOutput;
};

TracingBoard::TracingBoard(Board& board, Transcript& transcript)
    : m_pServices(std::make_unique<Services>(board, transcript)) {}
TracingBoard::~TracingBoard() = default;

Kernel& TracingBoard::GetKernel() { return m_pServices->target.GetKernel(); }
SerialPorts& TracingBoard::GetSerialPorts() { return m_pServices->serialPorts; }
Pins& TracingBoard::GetPins() { return m_pServices->pins; }
Files& TracingBoard::GetFiles() { return m_pServices->files; }
Registry& TracingBoard::GetRegistry() { return m_pServices->registry; }
DebugOutput& TracingBoard::GetDebugOutput() { return m_pServices->debugOutput; }

}  // namespace photometer::platform
