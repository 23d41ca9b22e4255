// Renders the scalable application icon to the bitmap sizes that panels and
// menus ask the hicolor theme for. Run by the build, so that the tree keeps
// one drawing and no bitmaps that could fall out of step with it.
//
//   tavi-icon-renderer ICON.svg THEME_DIR SIZE...
//
// writes THEME_DIR/<SIZE>x<SIZE>/apps/<name of ICON>.png for each size.

#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

int fail(const std::string& message) {
    std::fprintf(stderr, "tavi-icon-renderer: %s\n", message.c_str());
    return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) return fail("usage: tavi-icon-renderer ICON.svg THEME_DIR SIZE...");
    const std::filesystem::path source = argv[1];
    const std::filesystem::path themeDirectory = argv[2];

    QSvgRenderer svg(QString::fromStdString(source.string()));
    if (!svg.isValid()) return fail("not a drawable SVG file: " + source.string());

    for (int i = 3; i < argc; ++i) {
        char* end = nullptr;
        const long size = std::strtol(argv[i], &end, 10);
        if (*end != '\0' || size < 1 || size > 1024) return fail(std::string("not an icon size: ") + argv[i]);

        QImage image(static_cast<int>(size), static_cast<int>(size), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        svg.render(&painter);
        painter.end();

        const std::string sizeName = std::to_string(size) + "x" + std::to_string(size);
        const std::filesystem::path directory = themeDirectory / sizeName / "apps";
        std::error_code error;
        std::filesystem::create_directories(directory, error);
        if (error) return fail("cannot create " + directory.string() + ": " + error.message());
        const std::filesystem::path target = directory / source.stem().concat(".png");
        if (!image.save(QString::fromStdString(target.string()), "PNG"))
            return fail("cannot write " + target.string());
    }
    return EXIT_SUCCESS;
}
