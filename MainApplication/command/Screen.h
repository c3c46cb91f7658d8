// What the command prints on: a terminal with its width and colours, or a file or pipe without either.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

struct Screen {
  enum class Colour { kPlain, kHeading, kGood, kBad, kDoubtful, kQuiet };

  static constexpr std::size_t kEndless = 0;

  bool isTerminal = false;       // a person reads along
  bool hasColours = false;       // not with NO_COLOR, nor in a terminal that is "dumb"
  std::size_t width = kEndless;  // in columns

  static Screen ofStandardOutput();

  /// The text in that colour, where there are colours.
  std::string coloured(std::string_view text, Colour colour) const;

  /// Prints text in lines that fit, broken at blanks; all begin with `indent` blanks.
  void print(std::string_view text, std::ostream& output, std::size_t indent = 0, Colour colour = Colour::kPlain) const;
};

/// How many columns the text takes in a terminal.
std::size_t columnsOf(std::string_view text);

/// The text, and blanks up to that many columns.
std::string padded(std::string_view text, std::size_t columns);

/// Rows of cells below a heading, and lines of notes below a row.
class Table {
 public:
  struct Cell {
    std::string text = {};
    Screen::Colour colour = Screen::Colour::kPlain;
  };

  explicit Table(std::vector<std::string> heading) : heading_(std::move(heading)) {}

  void addRow(std::vector<Cell> cells) { rows_.push_back({std::move(cells)}); }
  void addNote(Cell note) { rows_.back().notes.push_back(std::move(note)); }
  /// A path is not broken, so that it can be copied.
  void addPath(std::string path) { rows_.back().paths.push_back(std::move(path)); }
  bool isEmpty() const { return rows_.empty(); }

  /// In columns; where these don't fit, each row has a line with its first cell, and one for each of the others.
  void print(const Screen& screen, std::ostream& output) const;

 private:
  struct Row {
    std::vector<Cell> cells;
    std::vector<std::string> paths = {};  // before the notes
    std::vector<Cell> notes = {};
  };

  std::vector<std::size_t> widths() const;
  void printInColumns(const Row& row, const std::vector<std::size_t>& widths, const Screen& screen,
                      std::ostream& output) const;
  void printInLines(const Row& row, const Screen& screen, std::ostream& output) const;

  std::vector<std::string> heading_;
  std::vector<Row> rows_;
};

}  // namespace tidewell
