#pragma once

#include <string>

// What standard output goes to.

bool isScreen();

/// Colour is for terminals that know it, unless NO_COLOR says otherwise.
bool hasColor();

/// The columns of the terminal; 0 where they are not known, or where it is none.
int screenWidth();

/// Whether the user has a pager ($PAGER) and standard output is a terminal.
bool hasPager();

/// Hands a text of more lines than the terminal has to the user's pager, and waits until that ends.
/// False for a shorter one, and where the pager cannot start or fails: nobody has seen it then.
bool pageText(const std::string& text);
