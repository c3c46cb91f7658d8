// The result of a query: rows in the order in which the database gave them.
//
// A million rows are common, so rows share their column names, and a cell takes five bytes more than its value. A row
// is a view: it and the texts that it returns are valid as long as the Rows they come from, which may be moved. Any
// number of threads may read at once; append() needs exclusive access. Nothing fails.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Worker/database/SqliteValue.h"

namespace tidewell {

/// One row: a value for each column name.
class Row {
 public:
  /// The value of a column: a string, a number, byte data or the null marker. Absent when there is no such column.
  std::optional<SqliteValue> find(std::string_view column) const;

  /// The text of a column. Absent when there is no such column, or when it holds something else: a number, byte data,
  /// the null marker.
  std::optional<std::string_view> stringForKey(std::string_view column) const;

  std::size_t size() const { return columns_->size(); }
  const std::vector<std::string>& columnNames() const { return *columns_; }

 private:
  friend class Rows;
  Row(const std::vector<std::string>& columns, const char* cells) : columns_(&columns), cells_(cells) {}

  /// Where the column's cell begins; null when there is no such column.
  const char* cellOf(std::string_view column) const;

  const std::vector<std::string>* columns_;
  const char* cells_;
};

class Rows {
 public:
  class const_iterator {
   public:
    using iterator_category = std::input_iterator_tag;  // rows are made on demand
    using value_type = Row;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = Row;

    const_iterator() = default;
    Row operator*() const { return (*rows_)[index_]; }
    const_iterator& operator++() {
      ++index_;
      return *this;
    }
    const_iterator operator++(int) {
      const const_iterator before = *this;
      ++index_;
      return before;
    }
    friend bool operator==(const const_iterator&, const const_iterator&) = default;

   private:
    friend class Rows;
    const_iterator(const Rows& rows, std::size_t index) : rows_(&rows), index_(index) {}

    const Rows* rows_ = nullptr;
    std::size_t index_ = 0;
  };

  /// No rows, of no columns.
  Rows() : Rows(std::vector<std::string>()) {}

  /// No rows yet, of these columns. Of several columns with the same name the last one counts.
  explicit Rows(const std::vector<std::string>& columns);

  std::size_t size() const { return rows_.size(); }
  bool empty() const { return rows_.empty(); }
  Row operator[](std::size_t index) const { return {*columns_, rows_[index]}; }
  const_iterator begin() const { return {*this, 0}; }
  const_iterator end() const { return {*this, size()}; }

  /// Each name once.
  const std::vector<std::string>& columnNames() const { return *columns_; }

  /// Appends a row: a value for each column that was given to the constructor, missing ones being absent. Numbers are
  /// kept as doubles; dates and other objects, which no column holds, are absent.
  void append(std::span<const std::optional<SqliteValue>> cells);

 private:
  struct Chunk {
    std::unique_ptr<char[]> bytes;
    std::size_t size;
    std::size_t used;
  };

  /// Reserves bytes for the next row, at an address that stays valid.
  char* placeFor(std::size_t size);

  std::shared_ptr<const std::vector<std::string>> columns_;
  std::vector<std::size_t> sources_;  // for each column name, the index of its cell
  std::vector<Chunk> chunks_;         // a row lies within one
  std::vector<const char*> rows_;
};

}  // namespace tidewell
