/* String resources of the service. */
#pragma once

#define IDS_SERVICE_NAME_QUOVANT 1000
#define IDS_SERVICE_NAME_TABLERO 1001
#define IDS_REGISTRY_KEY_MISSING 1002
#define IDS_REGISTRY_VALUE_MISSING 1003
