#include "tovictl/top/Screen.h"

#include <stdexcept>

// Its macros would be compiled here, under our warnings.
#define NCURSES_NOMACROS
#include <curses.h>

namespace tovi::ctl {

static void startColours() {
  start_color();
  use_default_colors();
  init_pair(1, COLOR_GREEN, -1);
  init_pair(2, COLOR_YELLOW, -1);
  init_pair(3, COLOR_RED, -1);
}

static attr_t attributesOf(Tone tone) {
  switch (tone) {
    case Tone::Heading:
      return A_BOLD;
    case Tone::Good:
      return COLOR_PAIR(1);
    case Tone::Warning:
      return COLOR_PAIR(2);
    case Tone::Bad:
      return COLOR_PAIR(3) | A_BOLD;
    case Tone::Faint:
      return A_DIM;
    case Tone::Plain:
      break;
  }
  return A_NORMAL;
}

Screen::Screen(bool coloured) {
  if (newterm(nullptr, stdout, stdin) == nullptr) {
    throw std::runtime_error(
        "TERM names a terminal that is not known here; top --count prints lines instead");
  }
  cbreak();
  noecho();
  keypad(stdscr, true);
  nodelay(stdscr, true);
  curs_set(0);
  if (coloured && has_colors()) startColours();
}

Screen::~Screen() {
  endwin();
}

ScreenSize Screen::size() const {
  return {static_cast<std::size_t>(getmaxy(stdscr)), static_cast<std::size_t>(getmaxx(stdscr))};
}

void Screen::draw(const std::vector<Line>& lines) {
  erase();
  for (std::size_t row = 0; row < lines.size(); ++row) {
    move(static_cast<int>(row), 0);
    for (const auto& [text, tone] : lines[row]) {
      attrset(static_cast<int>(attributesOf(tone)));
      addstr(text.c_str());
    }
  }
  attrset(A_NORMAL);
  refresh();
}

std::optional<int> Screen::key() {
  const int key = getch();
  if (key == ERR) return std::nullopt;
  return key == KEY_RESIZE ? 0 : key;
}

}  // namespace tovi::ctl
