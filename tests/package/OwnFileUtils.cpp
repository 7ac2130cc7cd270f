// An application with a class named as one of the library's: the library keeps calling its own function.
#include <tavrel/SQLSettings.h>

class FileUtils
{
public:
    static bool writePrivateFile(const QString& path, const QByteArray& bytes, QString* error);
};

bool FileUtils::writePrivateFile(const QString& /*path*/, const QByteArray& /*bytes*/, QString* /*error*/)
{
    return false;
}

int main(int /*argc*/, char* argv[])
{
    return SQLSettings().save(QString::fromLocal8Bit(argv[1]), nullptr) ? 0 : 1;
}
