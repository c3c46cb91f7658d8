#include "MainApplication/command/Screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <numeric>
#include <ostream>

#include "Platform/UTF8.h"

namespace tidewell {
namespace {

constexpr std::size_t kGap = 2;         // columns between those of a table
constexpr std::size_t kNoteIndent = 4;  // of what stands below a row

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

const char* codeOf(Screen::Colour colour) {
  switch (colour) {
    case Screen::Colour::kPlain:
      return "";
    case Screen::Colour::kHeading:
      return "\x1b[1m";
    case Screen::Colour::kGood:
      return "\x1b[32m";
    case Screen::Colour::kBad:
      return "\x1b[31m";
    case Screen::Colour::kDoubtful:
      return "\x1b[33m";
    case Screen::Colour::kQuiet:
      return "\x1b[2m";
  }
  return "";
}

}  // namespace

Screen Screen::ofStandardOutput() {
  Screen screen;
  screen.isTerminal = ::isatty(STDOUT_FILENO) == 1;
  if (!screen.isTerminal) return screen;
  const char* kind = std::getenv("TERM");
  screen.hasColours = !isSet("NO_COLOR") && kind != nullptr && std::string_view(kind) != "dumb";
  winsize size{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) screen.width = size.ws_col;
  return screen;
}

std::string Screen::coloured(std::string_view text, Colour colour) const {
  if (!hasColours || colour == Colour::kPlain) return std::string(text);
  return codeOf(colour) + std::string(text) + "\x1b[0m";
}

void Screen::print(std::string_view text, std::ostream& output, std::size_t indent, Colour colour) const {
  std::string line;
  const auto end = [&] {
    output << std::string(indent, ' ') << coloured(line, colour) << '\n';
    line.clear();
  };
  while (!text.empty()) {
    const std::size_t length = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    if (!line.empty() && width != kEndless && indent + columnsOf(line) + 1 + columnsOf(word) > width) end();
    line.append(line.empty() ? "" : " ").append(word);
  }
  end();
}

std::size_t columnsOf(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) {
    const std::size_t length = std::max<std::size_t>(platform::lengthOfFirstUTF8Sequence(text), 1);
    wchar_t character = 0;
    std::mbstate_t state{};
    const std::size_t read = std::mbrtowc(&character, text.data(), length, &state);
    const int width = read == length ? ::wcwidth(character) : 1;  // 1 for all outside of the language's encoding
    columns += static_cast<std::size_t>(std::max(width, 0));
    text.remove_prefix(length);
  }
  return columns;
}

std::string padded(std::string_view text, std::size_t columns) {
  const std::size_t taken = columnsOf(text);
  return std::string(text) + std::string(columns - std::min(columns, taken), ' ');
}

std::vector<std::size_t> Table::widths() const {
  std::vector<std::size_t> widths;
  for (const std::string& title : heading_) widths.push_back(columnsOf(title));
  for (const Row& row : rows_) {
    for (std::size_t index = 0; index < row.cells.size(); ++index) {
      widths[index] = std::max(widths[index], columnsOf(row.cells[index].text));
    }
  }
  return widths;
}

void Table::print(const Screen& screen, std::ostream& output) const {
  const std::vector<std::size_t> columns = widths();
  const std::size_t all = std::accumulate(columns.begin(), columns.end(), kGap * (columns.size() - 1));
  const bool fits = screen.width == Screen::kEndless || all <= screen.width;
  if (fits) {
    Row heading{};
    for (const std::string& title : heading_) heading.cells.push_back({title, Screen::Colour::kHeading});
    printInColumns(heading, columns, screen, output);
  }
  for (const Row& row : rows_) {
    fits ? printInColumns(row, columns, screen, output) : printInLines(row, screen, output);
    for (const std::string& path : row.paths) output << std::string(kNoteIndent, ' ') << path << '\n';
    for (const Cell& note : row.notes) screen.print(note.text, output, kNoteIndent, note.colour);
  }
}

void Table::printInColumns(const Row& row, const std::vector<std::size_t>& widths, const Screen& screen,
                           std::ostream& output) const {
  for (std::size_t index = 0; index < row.cells.size(); ++index) {
    const Cell& cell = row.cells[index];
    const bool isLast = index + 1 == row.cells.size();
    const std::size_t blanks = isLast ? 0 : widths[index] - columnsOf(cell.text) + kGap;
    output << screen.coloured(cell.text, cell.colour) << std::string(blanks, ' ');
  }
  output << '\n';
}

void Table::printInLines(const Row& row, const Screen& screen, std::ostream& output) const {
  output << screen.coloured(row.cells[0].text, Screen::Colour::kHeading) << '\n';
  for (std::size_t index = 1; index < row.cells.size(); ++index) {
    output << std::string(kNoteIndent, ' ') << heading_[index] << ": "
           << screen.coloured(row.cells[index].text, row.cells[index].colour) << '\n';
  }
}

}  // namespace tidewell
