@0xd5b9c1f0a7e34621;
# The type library: one interface per server object. Method ordinals follow the server's operation table (position 1 is
# @0; positions that no client calls are kept as "unused"). Methods that only the wire needs come after these.

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("wire");

const level :UInt16 = 2;
# Counts up with every version of the programs that adds to this file. A server tells its own, and a client that
# subscribes to events.

annotation since @0xc1d7a0e25b9f4836 (method) :UInt16;
# The level from which on servers know a method; no client calls it on an older one. Methods without it are known to all.

using Text16 = Data;
# 16-bit characters, little-endian, with an explicit length: NUL and lone surrogates are allowed.

struct Object {
  union {
    none @0 :Void;
    engine @1 :Engine;
    controller @2 :Controller;
    item @3 :Item;
    history @4 :History;
  }
  controllerName @5 :Text16;
  itemName @6 :Text16;
  # The path to the object from the engine, by which a client finds it again on a restarted server.
}

struct Value {
  union {
    empty @0 :Void;
    null @1 :Void;
    bool @2 :Bool;
    i1 @3 :Int8;
    ui1 @4 :UInt8;
    i2 @5 :Int16;
    ui2 @6 :UInt16;
    i4 @7 :Int32;
    ui4 @8 :UInt32;
    r4 @9 :Float32;
    r8 @10 :Float64;
    cy @11 :Int64;
    # Ten-thousandths.
    date @12 :Float64;
    # Days since 1899-12-30.
    bstr @13 :Text16;
    dispatch @14 :Object;
    array @15 :SafeArray;
  }
}

struct SafeArray {
  lowerBound @0 :Int32;
  union {
    bool @1 :List(Bool);
    i1 @2 :Data;
    ui1 @3 :Data;
    i2 @4 :List(Int16);
    ui2 @5 :List(UInt16);
    i4 @6 :List(Int32);
    ui4 @7 :List(UInt32);
    r4 @8 :List(Float32);
    r8 @9 :List(Float64);
    cy @10 :List(Int64);
    date @11 :List(Float64);
    bstr @12 :List(Text16);
    dispatch @13 :List(Object);
    variant @14 :List(Value);
  }
}

interface Library {
  # The first object of a connection.
  createEngine @0 () -> (result :Engine, version :Text, level :UInt16);
  # version: the server's, for people. Servers that know of no levels leave it empty.
  ping @1 () -> (callsUnderWay :Int32 = -1, waitsFor :Text);
  # Answered at once by a server that is alive, whatever else it is doing. The result is the number of calls of this
  # connection, not counting the ping, that it has not answered yet. Messages keep their order, so a call that is
  # neither under way nor answered is lost. -1 when the server cannot tell.
  # waitsFor: for people, what the server has to do before it can answer any call, such as reading its plant; else empty.
  callInTurn @2 (objects :List(Object), calls :List(Call)) -> (outcomes :List(Outcome)) $since(1);
  # Carries out the calls one after the other, as if each had come in a message of its own. Ends when another step might
  # last beyond 25 ms, or when the outcomes are large; the rest may be asked again. At least one call is answered.
}

const firstResult :UInt16 = 32768;

struct Call {
  object @0 :UInt16;
  # Which of the objects; of these only the references count, not the paths. From firstResult on: what an earlier call
  # of the list has answered, the first one being firstResult itself; servers know this from level 2 on.
  method @1 :UInt16;
  # Its ordinal in the object's own interface.
  parameters @2 :AnyPointer;
  # The struct of the method's parameters; may be left out when there are none.
  condition @3 :Condition;
  continuesStep @4 :Bool;
  # Belongs to the step of the call before. Once a call with a result has failed, the rest of its step is skipped.
}

enum Condition {
  always @0;
  ifTrue @1;
  # The call before has answered true.
  unlessWriteOnly @2;
  # The attribute that the call before has answered is not "write only".
}

struct Outcome {
  union {
    unanswered @0 :Void;
    skipped @1 :Void;
    results @2 :AnyPointer;
    # The struct of the method's results.
    failure @3 :Text;
  }
}

interface Engine {
  unused1 @0 ();
  getController @1 (name :Value) -> (result :Controller);
  start @2 ();
  stop @3 ();
  snapshot @4 ();
  execute @5 (command :Text16) -> (result :Value);
  getHistory @6 () -> (result :History);
  getControllerNames @7 () -> (result :Value);
}

interface Controller {
  unused1 @0 ();
  getItem @1 (name :Value) -> (result :Item);
  start @2 ();
  stop @3 ();
  snapshot @4 ();
  addItem @5 (definition :Value);
  removeItem @6 (name :Text16);
  execute @7 (command :Text16, parameter :Value) -> (result :Value);
  getCount @8 () -> (result :Int32);
  getIndex @9 () -> (result :Int32);
  getItemNames @10 (most :UInt32) -> (result :Value);
  # The first so many; 0 are all. Servers that do not know it answer all.
  getScanTimes @11 (index :Int32) -> (result :Int32);
  getState @12 () -> (result :Int32);
  getTag @13 () -> (result :Value);
  putTag @14 (value :Value);
  getDescription @15 () -> (result :Text16);
  getName @16 () -> (result :Text16);
  getSettingData @17 (index :Value) -> (result :Value);

  subscribe @18 (events :ControllerEvents, level :UInt16) -> (subscription :Subscription);
  # Events arrive until the subscription is dropped, in calls that clients of this level know.
}

interface Subscription {}

interface ControllerEvents {
  onChangeState @0 (newVal :Int32);
  onChangeItem @1 (item :Object);
  onChanges @2 (changes :List(Change)) $since(2);
  # Several of them, in order; answered when all are handled.
}

struct Change {
  union {
    state @0 :Int32;
    item @1 :Object;
  }
}

interface Item {
  getValue @0 () -> (result :Value);
  putValue @1 (value :Value);
  snapshot @2 ();
  getActivation @3 () -> (result :Bool);
  putActivation @4 (value :Bool);
  getDateTime @5 () -> (result :Value);
  getIndex @6 () -> (result :Int32);
  getLinkActivation @7 () -> (result :Bool);
  putLinkActivation @8 (value :Bool);
  getMicrosecond @9 () -> (result :Int32);
  getState @10 () -> (result :Int32);
  getTag @11 () -> (result :Value);
  putTag @12 (value :Value);
  putValueEx @13 (delay :Int32, value :Value);
  getAttribute @14 () -> (result :Int32);
  getDescription @15 () -> (result :Text16);
  getElements @16 (index1 :Int32, index2 :Int32, index3 :Int32) -> (result :Value);
  unused18 @17 ();
  getId @18 () -> (result :Value);
  putId @19 (value :Value);
  getLinkItem @20 () -> (result :Value);
  getName @21 () -> (result :Text16);
  getSettingData @22 (index :Int32) -> (result :Value);
}

interface History {
  execute @0 (statement :Text16) -> (result :ResultSet);
  getConnectionString @1 (index :Int32) -> (result :Text16);
  getEnabled @2 () -> (result :Bool);
  getMaxRecord @3 (index :Int32) -> (result :Int32);
  getTableName @4 (index :Int32) -> (result :Text16);

  readRaw @5 (items :Value, from :Value, to :Value, bounds :Bool, atMost :Int32, continuing :Text16)
      -> (result :ResultSet) $since(1);
  readProcessed @6 (items :Value, from :Value, to :Value, interval :Value, aggregates :Value)
      -> (result :ResultSet) $since(1);
}

interface ResultSet {
  columns @0 () -> (names :List(Text16));
  progress @1 () -> (rowsSoFar :Int64, complete :Bool, failure :Text16, affected :Int64 = -1);
  # affected: how many rows a statement that returns none has changed, -1 when that is not known.
  pageOf @2 (row :Int64) -> (page :Data);
  # A flat message of ResultPage, as it was spooled: the server passes it on without decoding it.
}

struct ResultPage {
  firstRow @0 :Int64;
  columnCount @1 :Int32;
  cells @2 :List(Value);
  # Row after row.
}
