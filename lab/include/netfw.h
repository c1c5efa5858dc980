// The firewall as objects: its profile that is in force, and the ports that are open in it. Methods
// stand in the real order; those that nobody calls are left out.
#pragma once

#include <icftypes.h>
#include <oaidl.h>

/// A port that is open, or was described to be opened.
struct INetFwOpenPort : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE put_Name(BSTR name) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Protocol(NET_FW_IP_PROTOCOL ipProtocol) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Port(LONG portNumber) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Enabled(VARIANT_BOOL* enabled) = 0;

 protected:
  ~INetFwOpenPort() = default;
};

struct INetFwOpenPorts : IDispatch {
  /// Opens the port; an opening that it has already is replaced, name and all.
  virtual HRESULT STDMETHODCALLTYPE Add(INetFwOpenPort* port) = 0;
  /// Whoever opened it. A port that isn't open is a success.
  virtual HRESULT STDMETHODCALLTYPE Remove(LONG portNumber, NET_FW_IP_PROTOCOL ipProtocol) = 0;
  /// \return The code of a file that isn't there for a port without an opening.
  virtual HRESULT STDMETHODCALLTYPE Item(LONG portNumber, NET_FW_IP_PROTOCOL ipProtocol,
                                         INetFwOpenPort** openPort) = 0;

 protected:
  ~INetFwOpenPorts() = default;
};

struct INetFwProfile : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE get_FirewallEnabled(VARIANT_BOOL* enabled) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_GloballyOpenPorts(INetFwOpenPorts** openPorts) = 0;

 protected:
  ~INetFwProfile() = default;
};

struct INetFwPolicy : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE get_CurrentProfile(INetFwProfile** profile) = 0;

 protected:
  ~INetFwPolicy() = default;
};

struct INetFwMgr : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE get_LocalPolicy(INetFwPolicy** localPolicy) = 0;

 protected:
  ~INetFwMgr() = default;
};

class NetFwOpenPort;
class NetFwMgr;

inline constexpr IID IID_INetFwOpenPort = {
    0xE0483BA0, 0x47FF, 0x4D9C, {0xA6, 0xD6, 0x77, 0x41, 0xD0, 0xB1, 0x95, 0xF7}};
inline constexpr IID IID_INetFwOpenPorts = {
    0xC0E9D7FA, 0xE07E, 0x430A, {0xB1, 0x9A, 0x09, 0x0C, 0xE8, 0x2D, 0x92, 0xE2}};
inline constexpr IID IID_INetFwProfile = {
    0x174A0DDA, 0xE9F9, 0x449D, {0x99, 0x3B, 0x21, 0xAB, 0x66, 0x7C, 0xA4, 0x56}};
inline constexpr IID IID_INetFwPolicy = {
    0xD46D2478, 0x9AC9, 0x4008, {0x9D, 0xC7, 0x55, 0x63, 0xCE, 0x55, 0x36, 0xCC}};
inline constexpr IID IID_INetFwMgr = {
    0xF7898AF5, 0xCAC4, 0x4632, {0xA2, 0xEC, 0xDA, 0x06, 0xE5, 0x11, 0x1A, 0xF2}};
inline constexpr CLSID CLSID_NetFwOpenPort = {
    0x0CA545C6, 0x37AD, 0x4A6C, {0xBF, 0x92, 0x9F, 0x76, 0x10, 0x06, 0x7E, 0xF5}};
inline constexpr CLSID CLSID_NetFwMgr = {
    0x304CE942, 0x6E39, 0x40D8, {0x94, 0x3A, 0xB9, 0x13, 0xC4, 0x0C, 0x9C, 0xD4}};

// The real import libraries lack these ids, so that only the types give them.
template <>
struct IdOfType<INetFwOpenPort> {
  static constexpr IID value = IID_INetFwOpenPort;
};
template <>
struct IdOfType<INetFwMgr> {
  static constexpr IID value = IID_INetFwMgr;
};
template <>
struct IdOfType<NetFwOpenPort> {
  static constexpr CLSID value = CLSID_NetFwOpenPort;
};
template <>
struct IdOfType<NetFwMgr> {
  static constexpr CLSID value = CLSID_NetFwMgr;
};
