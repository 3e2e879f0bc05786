// Any byte string as a file to preview: creating, preparing, seeking and starting the
// player on its clock output must not crash, and a refusal must say why.
#include "preview_player.h"

#include <QCoreApplication>
#include <QString>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

void require(bool condition)
{
    if (!condition) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static int argc = 1;
    static char name[] = "qv_fuzz_player";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    static const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("qv-fuzz-player-" + std::to_string(::getpid()));
    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    QString error;
    auto player = qv::PreviewPlayer::create(QString::fromStdString(file.string()), &error,
                                            qv::PreviewPlayer::clockOutput());
    if (!player) {
        require(!error.isEmpty());
        return 0;
    }
    const double duration = player->duration();
    require(std::isfinite(duration) && duration >= 0.0);
    if (!player->prepareToPlay()) {
        require(!player->errorText().isEmpty());
        return 0;
    }
    player->setCurrentTime(duration / 2);
    require(player->currentTime() >= 0.0 && player->currentTime() <= duration);
    if (player->play()) {
        player->setCurrentTime(duration * 0.9);
        player->pause();
    } else {
        require(!player->errorText().isEmpty());
    }
    player->stop();
    return 0;
}
