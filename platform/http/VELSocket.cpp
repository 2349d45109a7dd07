#include "vela/VELSocket.h"

VELSocket::~VELSocket() = default;
