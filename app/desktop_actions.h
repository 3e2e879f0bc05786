#pragma once
// What the desktop does for us: showing a file in the file manager.

#include <QString>

// Opens the file manager with the file selected where the desktop offers that (the
// freedesktop FileManager1 service), else opens its folder. A folder is opened itself.
void showInFileManager(const QString& path);
