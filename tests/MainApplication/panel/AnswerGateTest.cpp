// Which input counts as an answer to a panel.

#include <gtest/gtest.h>

#include "MainApplication/panel/AnswerGate.h"

namespace {

using Key = tidewell::AnswerGate::Key;

class AnswerGate : public ::testing::Test {
 protected:
  tidewell::AnswerGate gate;
};

TEST_F(AnswerGate, letsNothingPassBeforeItOpens) {
  EXPECT_FALSE(gate.isOpen());
  for (const Key key : {Key::kMovesFocus, Key::kMnemonic, Key::kOther}) EXPECT_FALSE(gate.passes(key));
}

TEST_F(AnswerGate, forgetsWhatCameBeforeItOpened) {
  gate.passes(Key::kMovesFocus);
  gate.clicked();
  gate.open();
  EXPECT_TRUE(gate.isOpen());
  EXPECT_FALSE(gate.passes(Key::kOther));
}

TEST_F(AnswerGate, letsKeysPassAfterOneThatMovesTheFocus) {
  gate.open();
  EXPECT_FALSE(gate.passes(Key::kOther));
  EXPECT_TRUE(gate.passes(Key::kMovesFocus));
  EXPECT_TRUE(gate.passes(Key::kOther));
}

TEST_F(AnswerGate, letsKeysPassAfterAClick) {
  gate.open();
  gate.clicked();
  EXPECT_TRUE(gate.passes(Key::kOther));
}

TEST_F(AnswerGate, letsMnemonicsPassAloneAndNothingAfterThem) {
  gate.open();
  EXPECT_TRUE(gate.passes(Key::kMnemonic));
  EXPECT_FALSE(gate.passes(Key::kOther));
}

TEST_F(AnswerGate, isAsBeforeWhenTheWindowHasLostTheFocus) {
  gate.open();
  gate.passes(Key::kMovesFocus);
  gate.left();
  EXPECT_TRUE(gate.isOpen());
  EXPECT_FALSE(gate.passes(Key::kOther));
  EXPECT_TRUE(gate.passes(Key::kMovesFocus));
}

}  // namespace
