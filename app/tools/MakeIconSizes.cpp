// Build-time helper: scales the program's 512x512 icon down to the smaller
// hicolor theme sizes, so menus and panels need not scale it themselves.
//   vkt-make-icon-sizes SOURCE.png FOLDER SIZE...
// writes FOLDER/SIZExSIZE/vkts3-properties.png for each SIZE.
#include <QDir>
#include <QImage>
#include <QString>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: vkt-make-icon-sizes SOURCE.png FOLDER SIZE...\n");
    return 2;
  }
  QImage source;
  if (!source.load(QString::fromLocal8Bit(argv[1]))) {
    std::fprintf(stderr, "vkt-make-icon-sizes: cannot read %s\n", argv[1]);
    return 1;
  }
  const QString folder = QString::fromLocal8Bit(argv[2]);
  for (int i = 3; i < argc; ++i) {
    bool ok = false;
    const int size = QString::fromLocal8Bit(argv[i]).toInt(&ok);
    if (!ok || size <= 0 || size > source.width()) {
      std::fprintf(stderr, "vkt-make-icon-sizes: bad size %s\n", argv[i]);
      return 2;
    }
    const QString sizeFolder = QStringLiteral("%1/%2x%2").arg(folder).arg(size);
    const QString path = sizeFolder + QStringLiteral("/vkts3-properties.png");
    QImage scaled = source.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    if (!QDir().mkpath(sizeFolder) || !scaled.save(path, "PNG")) {
      std::fprintf(stderr, "vkt-make-icon-sizes: cannot write %s\n", qPrintable(path));
      return 1;
    }
  }
  return 0;
}
