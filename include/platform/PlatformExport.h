// Visibility of the platform library's symbols; everything else in it is hidden.
#pragma once

#define PLATFORM_API __attribute__((visibility("default")))
