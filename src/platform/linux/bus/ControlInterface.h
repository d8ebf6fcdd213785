#pragma once

/// The names by which the processes of this program find each other on the session bus.
namespace vellumix::linux_desktop::control {

inline constexpr auto busName = "com.tarnwick.Vellumix";
inline constexpr auto objectPath = "/com/tarnwick/Vellumix";
inline constexpr auto interfaceName = "com.tarnwick.Vellumix.Control";
inline constexpr auto description =
    "<node>"
    "  <interface name='com.tarnwick.Vellumix.Control'>"
    "    <method name='Status'><arg name='json' type='s' direction='out'/></method>"
    "    <method name='Quit'/>"
    "    <method name='Toggle'/>"
    "    <method name='Show'/>"
    "    <method name='Hide'/>"
    "    <method name='TakeAccount'><arg name='address' type='s'/><arg name='user' type='s'/></method>"
    "  </interface>"
    "</node>";

}  // namespace vellumix::linux_desktop::control
