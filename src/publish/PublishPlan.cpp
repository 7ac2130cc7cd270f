#include "PublishPlan.h"

void PublishPlan::addFile(const QByteArray& name, qint64 size, int folder)
{
    PlannedFile file;
    file.size = size;
    file.folder = folder;
    file.nameBegin = names.size();
    file.nameSize = static_cast<int>(name.size());
    names += name;
    files.push_back(file);
}
