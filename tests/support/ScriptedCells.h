// Cells that answer what a test wants, as if hostile bytes had taken them over.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Cells.h"

namespace testing_support {

class ScriptedCells : public platform::Cells {
 public:
  /// The answer to a request; absent for a cell that ends. Cells count from 1.
  using Script = std::function<std::optional<std::string>(std::size_t cell, std::string_view request)>;

  explicit ScriptedCells(Script script) : script_(std::move(script)) {}

  std::size_t opened = 0;
  bool canOpen = true;

  platform::Result<std::unique_ptr<platform::Cell>> open() override {
    if (!canOpen) return std::errc::resource_unavailable_try_again;
    return std::unique_ptr<platform::Cell>(std::make_unique<Talk>(script_, ++opened));
  }
  std::shared_ptr<void> startAhead() override { return nullptr; }

 private:
  class Talk : public platform::Cell {
   public:
    Talk(const Script& script, std::size_t number) : script_(script), number_(number) {}

    std::error_code say(std::string_view message) override {
      answer_ = script_(number_, message);
      return {};
    }
    platform::Result<std::string> hear(std::size_t largest) override {
      if (!answer_) return std::errc::broken_pipe;
      if (answer_->size() > largest) return std::errc::message_size;
      return *answer_;
    }

   private:
    const Script& script_;
    const std::size_t number_;
    std::optional<std::string> answer_;
  };

  const Script script_;
};

}  // namespace testing_support
