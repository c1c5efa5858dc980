// Security of the user and of programs that talk to each other. Of it there are the user's names.
#pragma once

#include <secext.h>
