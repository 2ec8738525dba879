#pragma once

// The names under which the provider is known to a CIM object manager.

constexpr char kCimNamespace[] = "root/cimv2";
constexpr char kInstanceClass[] = "KAV_SSDLifeMonitor";
constexpr char kIndicationClass[] = "KAV_SSDLifeMonitorFailureImminent";
constexpr char kDeviceIdProperty[] = "DeviceID";
