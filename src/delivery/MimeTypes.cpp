#include "MimeTypes.h"

#include <utility>

namespace MimeTypes {

QByteArray MimeTypeForFile(const QString& fileName)
{
    static const std::pair<const char*, const char*> table[] = {
        {".bmp", "image/bmp"},           {".dib", "image/bmp"},          {".fpx", "image/x-xbitmap"},
        {".gif", "image/gif"},           {".ico", "image/x-icon"},       {".jfif", "image/pjpeg"},
        {".jpe", "image/jpeg"},          {".jpeg", "image/jpeg"},        {".jpg", "image/jpeg"},
        {".mix", "image/x-xbitmap"},     {".pct", "image/pict"},         {".pic", "image/pict"},
        {".pict", "image/pict"},         {".png", "image/png"},          {".pntg", "image/x-macpaint"},
        {".qti", "image/x-quicktime"},   {".qtif", "image/x-quicktime"}, {".rf", "image/vnd.rn-realflash"},
        {".rp", "image/vnd.rn-realpix"}, {".sgi", "image/x-sgi"},        {".svg", "image/svg+xml"},
        {".svgz", "image/svg+xml"},      {".tga", "image/x-targa"},      {".tif", "image/tiff"},
        {".tiff", "image/tiff"},         {".xbm", "image/x-xbitmap"},
    };
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    const QByteArray extension = (dot >= 0 ? fileName.mid(dot).toLower() : fileName).toUtf8();
    for (const auto& [ending, type] : table) {
        if (extension == ending) {
            return type;
        }
    }
    return "application/octet-stream";
}

} // namespace MimeTypes
