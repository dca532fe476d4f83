#pragma once
// Test support: records every message box shown while it lives instead of showing it, then puts the
// previous service back.
#include <string>
#include <vector>

#include "kvx/framework/KvxTypes.h"
#include "kvx/framework/KvxUiServices.h"

namespace kvx::test {

class MessageRecorder final : public IKvxMessageBoxService {
 public:
  struct Message {
    std::wstring text;
    std::wstring caption;
    KvxMessageIcon icon;
  };
  MessageRecorder() : previous_(SetMessageBoxService(this)) {}
  ~MessageRecorder() override { SetMessageBoxService(previous_); }
  int Show(const std::wstring& text, const std::wstring& caption, KvxMessageIcon icon) override {
    messages.push_back({text, caption, icon});
    return KVX_IDOK;
  }
  std::vector<Message> messages;

 private:
  IKvxMessageBoxService* previous_;
};

}  // namespace kvx::test
