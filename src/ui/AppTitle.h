#pragma once
// The application title (the About caption) and the main window's caption.

inline constexpr const char* AppTitle = "Voltaris Monitor";
inline constexpr const char* MainWindowCaption = "Voltaris Monitor";
