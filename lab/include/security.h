#pragma once

#include <secext.h>
