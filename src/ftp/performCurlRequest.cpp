#include "FTPSession.h"
#include "RequestOptions.h"

int performCurlRequest(VFSCurlData& data)
{
    constexpr int notPossible = -1;
    if (!data.owner || !RequestOptions::isKind(data.type)) {
        return notPossible;
    }
    return FTPSession::of(*data.owner).perform(data);
}
