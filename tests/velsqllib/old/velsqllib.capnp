@0xd5b9c1f0a7e34621;
# The type library of version 1.0.0, as far as old_peer.cpp serves it: what has been released stays as it is.
using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("wire");
using Text16 = Data;
struct Object { union { none @0 :Void; engine @1 :Engine; controller @2 :Controller; item @3 :Item;
  history @4 :History; } controllerName @5 :Text16; itemName @6 :Text16; }
struct Value { union { empty @0 :Void; null @1 :Void; bool @2 :Bool; i1 @3 :Int8; ui1 @4 :UInt8; i2 @5 :Int16;
  ui2 @6 :UInt16; i4 @7 :Int32; ui4 @8 :UInt32; r4 @9 :Float32; r8 @10 :Float64; cy @11 :Int64; date @12 :Float64;
  bstr @13 :Text16; dispatch @14 :Object; array @15 :SafeArray; } }
struct SafeArray { lowerBound @0 :Int32; union { bool @1 :List(Bool); i1 @2 :Data; ui1 @3 :Data; i2 @4 :List(Int16);
  ui2 @5 :List(UInt16); i4 @6 :List(Int32); ui4 @7 :List(UInt32); r4 @8 :List(Float32); r8 @9 :List(Float64);
  cy @10 :List(Int64); date @11 :List(Float64); bstr @12 :List(Text16); dispatch @13 :List(Object);
  variant @14 :List(Value); } }
interface Library { createEngine @0 () -> (result :Engine); ping @1 () -> (callsUnderWay :Int32 = -1); }
interface Engine { unused1 @0 (); getController @1 (name :Value) -> (result :Controller); start @2 (); stop @3 ();
  snapshot @4 (); execute @5 (command :Text16) -> (result :Value); getHistory @6 () -> (result :History);
  getControllerNames @7 () -> (result :Value); }
interface Controller { unused1 @0 (); getItem @1 (name :Value) -> (result :Item); start @2 (); stop @3 ();
  snapshot @4 (); addItem @5 (definition :Value); removeItem @6 (name :Text16);
  execute @7 (command :Text16, parameter :Value) -> (result :Value); getCount @8 () -> (result :Int32);
  getIndex @9 () -> (result :Int32); getItemNames @10 () -> (result :Value);
  getScanTimes @11 (index :Int32) -> (result :Int32); getState @12 () -> (result :Int32);
  getTag @13 () -> (result :Value); putTag @14 (value :Value); getDescription @15 () -> (result :Text16);
  getName @16 () -> (result :Text16); getSettingData @17 (index :Value) -> (result :Value);
  subscribe @18 (events :ControllerEvents) -> (subscription :Subscription); }
interface Subscription {}
interface ControllerEvents { onChangeState @0 (newVal :Int32); onChangeItem @1 (item :Object); }
interface Item { getValue @0 () -> (result :Value); putValue @1 (value :Value); snapshot @2 ();
  getActivation @3 () -> (result :Bool); putActivation @4 (value :Bool); getDateTime @5 () -> (result :Value);
  getIndex @6 () -> (result :Int32); getLinkActivation @7 () -> (result :Bool); putLinkActivation @8 (value :Bool);
  getMicrosecond @9 () -> (result :Int32); getState @10 () -> (result :Int32); getTag @11 () -> (result :Value);
  putTag @12 (value :Value); putValueEx @13 (delay :Int32, value :Value); getAttribute @14 () -> (result :Int32);
  getDescription @15 () -> (result :Text16);
  getElements @16 (index1 :Int32, index2 :Int32, index3 :Int32) -> (result :Value); unused18 @17 ();
  getId @18 () -> (result :Value); putId @19 (value :Value); getLinkItem @20 () -> (result :Value);
  getName @21 () -> (result :Text16); getSettingData @22 (index :Int32) -> (result :Value); }
interface History {}
