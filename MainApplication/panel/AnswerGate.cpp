#include "MainApplication/panel/AnswerGate.h"

namespace tidewell {

bool AnswerGate::passes(Key key) {
  if (!isOpen_) return false;
  if (key == Key::kMovesFocus) isAttended_ = true;
  return isAttended_ || key == Key::kMnemonic;
}

}  // namespace tidewell
