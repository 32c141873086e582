' Reads and writes items, by plain values and by typed ones.
const plc = Vlx.Controller("PLC1");
const setPoint = plc.Item("D100");

print("Set point:", setPoint.Value, "-", setPoint.Description);
setPoint.Value = 40;
print("Now:", setPoint.Value, "typed:", typed(setPoint, "Value"));

' A plain number would go out as an I4 or an R8; a type that matters is named.
plc.Item("Price").Value = CY("13.75");
plc.Item("Words").Value = ArrayOf("I2", [1, 2, 3]);
for (const name of ["Price", "Words", "Shift start"]) {
    const value = typed(plc.Item(name), "Value");
    print(name + ":", value.value, value.type);
}

' What the server refuses is an error like any other.
try {
    setPoint.Value = "abc";
} catch (error) {
    print(error.name + ":", error.message);
}
