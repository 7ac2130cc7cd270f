#include "PipeSignal.h"

PipeSignal::PipeSignal() = default;
PipeSignal::~PipeSignal() = default;
