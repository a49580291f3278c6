#include "blas_frontend/common.h"
