// Tells answers to a panel from input that was meant for something else: a panel comes up by itself, in front of what
// the person is typing or clicking.
//
// Nothing counts in the first second. Of keys, only those count that follow one that is of use in the panel alone.
#pragma once

namespace tidewell {

class AnswerGate {
 public:
  enum class Key {
    kMovesFocus,  // Tab, an arrow
    kMnemonic,    // with Alt, or Alt itself: it does nothing unless a button has it as its letter
    kOther,
  };

  /// The window has been on the screen for a second.
  void open() { isOpen_ = true; }

  /// Whether buttons, and the window's own close button, count now.
  bool isOpen() const { return isOpen_; }

  /// Whether a key that was pressed reaches the window.
  bool passes(Key key);

  /// The person has clicked in the window.
  void clicked() { isAttended_ = isOpen_; }

  /// The window has lost the focus: the next keys may be meant for something else again.
  void left() { isAttended_ = false; }

 private:
  bool isOpen_ = false;
  bool isAttended_ = false;  // the person is at the panel
};

}  // namespace tidewell
