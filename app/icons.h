#pragma once
// Symbols by freedesktop icon name, drawn here in the window's colours so that no
// button is ever blank (a bare server has no icon theme) or dark on dark.

#include <QColor>
#include <QIcon>
#include <QString>

namespace qv {

QIcon symbolIcon(const QString& name, const QColor& color = QColor(0xec, 0xea, 0xf2));

// The application's mark: five white bars of a waveform on a rounded square of the
// accent colour, `size` pixels wide. The window's header and the desktop icon use it.
QPixmap brandMark(int size, const QColor& accent);

} // namespace qv
