#pragma once

/// Stands for the file in the location of every error of FTPCurl, whichever of its sources raises it.
constexpr const char* ERROR_SOURCE = "FTPCurl";
