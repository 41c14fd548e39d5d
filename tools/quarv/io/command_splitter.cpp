#include "io/command_splitter.h"

#include <utility>

namespace quarv::cli {

namespace {

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

}  // namespace

void CommandSplitter::advance(char c) {
  ++position_;
  if (c == '\n') {
    ++line_;
    column_ = 1;
  } else {
    ++column_;
  }
}

void CommandSplitter::add(std::string_view text) {
  const std::size_t done = start_ == none ? position_ : start_;
  waiting_.erase(0, done);
  position_ -= done;
  if (start_ != none) start_ = 0;
  waiting_ += text;
}

/// The command from its start to `end`.
CommandSplitter::Piece CommandSplitter::take(std::size_t end) {
  Piece piece{waiting_.substr(start_, end - start_), start_line_, start_column_};
  start_ = none;
  return piece;
}

bool CommandSplitter::next(Piece& piece) {
  while (position_ < waiting_.size()) {
    const char c = waiting_[position_];
    switch (state_) {
      case State::comment:
        if (c == '\n') state_ = before_comment_;
        break;
      case State::string:
        if (c == '"') state_ = State::inside;
        break;
      case State::quoted_symbol:
        if (c == '|') state_ = State::inside;
        break;
      case State::outside:
        if (start_ != none && (c == '(' || c == '\n' || c == ';')) {
          piece = take(position_);
          return true;
        }
        if (c == ';') {
          before_comment_ = State::outside;
          state_ = State::comment;
        } else if (!is_blank(c) && start_ == none) {
          start_ = position_;
          start_line_ = line_;
          start_column_ = column_;
        }
        if (c == '(') {
          state_ = State::inside;
          depth_ = 1;
        }
        break;
      case State::inside:
        if (c == '(') ++depth_;
        if (c == '"') state_ = State::string;
        if (c == '|') state_ = State::quoted_symbol;
        if (c == ';') {
          before_comment_ = State::inside;
          state_ = State::comment;
        }
        if (c == ')' && --depth_ == 0) {
          state_ = State::outside;
          advance(c);
          piece = take(position_);
          return true;
        }
        break;
    }
    advance(c);
  }
  return false;
}

bool CommandSplitter::rest(Piece& piece) {
  if (start_ == none) return false;
  piece = take(waiting_.size());
  return true;
}

}  // namespace quarv::cli
