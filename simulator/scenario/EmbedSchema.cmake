# Writes a source with the schema in it: -DINPUT=file -DOUTPUT=file
file(READ "${INPUT}" text)
file(WRITE "${OUTPUT}.new" "namespace CIM::sim\n{\nextern const char* const SCENARIO_SCHEMA;\n"
  "const char* const SCENARIO_SCHEMA = R\"schema(${text})schema\";\n} // namespace CIM::sim\n")
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
