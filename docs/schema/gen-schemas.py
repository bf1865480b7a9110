#!/usr/bin/env python3
"""Writes the JSON Schemas (draft-04) of the documents plovrestd publishes.

Keys, titles, "Data" types, code tables and texts come from the catalogue
the renderers compile in (MainBoard/Render/Catalogue.def), as JSON:
docs/reference/catalogue.json, or the build's catalogue.json with --catalogue.
This file adds the documents' layout and the value ranges. Run it after a
renderer changes; `--check` fails when a committed schema differs.

    docs/schema/gen-schemas.py [--check] [--catalogue FILE]
    docs/schema/gen-schemas.py --dictionary FILE   only the field dictionary, to FILE
    docs/schema/gen-schemas.py --contract          the UI contract's catalogue sections, to stdout

It also writes the field dictionary, docs/reference/fields.md (which
scripts/gen-reference-docs.sh writes and checks with the other pages).
"""
import json
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent
DRAFT = "http://json-schema.org/draft-04/schema#"
T = {"i": "integer", "n": "number", "b": "boolean", "s": "string"}
DECIMAL = {"type": "string", "pattern": "^-?[0-9]+$"}


def texts(*values, decimal=False, pattern=None):
    """Description made of fixed texts, optionally or a decimal / a pattern."""
    alts = [{"enum": list(dict.fromkeys(values))}] if values else []
    if decimal:
        alts.append({"pattern": "^-?[0-9]+$"})
    if pattern:
        alts.append({"pattern": pattern})
    if len(alts) == 1:
        return dict(alts[0], type="string")
    return {"type": "string", "anyOf": alts}


def item(titles, dtype, desc=None, data=None, doc=None):
    """An item object: exactly "Title", "Data", "Desc"."""
    titles = [titles] if isinstance(titles, str) else titles
    d = {"type": T[dtype]}
    if data:
        d.update(data)
    s = {
        "type": "object",
        "required": ["Title", "Data", "Desc"],
        "additionalProperties": False,
        "properties": {
            "Title": {"enum": titles},
            "Data": d,
            "Desc": desc or {"type": "string"},
        },
    }
    if doc:
        s["description"] = doc
    return s


def obj(props, required=None, doc=None):
    s = {"type": "object", "required": required if required is not None else list(props),
         "additionalProperties": False, "properties": props}
    if doc:
        s["description"] = doc
    return s


def arr(items, lo=0, hi=None):
    s = {"type": "array", "items": items, "minItems": lo}
    if hi is not None:
        s["maxItems"] = hi
    return s


def const_int(*values):
    return {"type": "integer", "enum": list(values)}


# ---- the catalogue: keys, titles, code tables and texts (MainBoard/Render/Catalogue.def)
def load_catalogue(argv):
    """The catalogue JSON: --catalogue FILE (the build's catalogue.json), else
    the committed docs/reference/catalogue.json."""
    path = HERE.parent / "reference" / "catalogue.json"
    if "--catalogue" in argv:
        path = pathlib.Path(argv[argv.index("--catalogue") + 1])
    return json.loads(path.read_text(encoding="utf-8"))


CAT = load_catalogue(sys.argv)
TABLES = {t["id"]: t for t in CAT["tables"]}
ITEMS = {i["id"]: i for i in CAT["items"]}
MEMBERS = {m["id"]: m for m in CAT["members"]}
TXT = CAT["texts"]
INDEXES = CAT["indexes"]
NOTES = CAT["notes"]
KIND_NAMES = {"pcm": "PCM", "dd": "Dolby Digital", "ddp": "Dolby Digital Plus", "dolby-e": "Dolby E",
              "ac4": "AC-4", "ed2": "ED2"}


def notes_of(subject, kind):
    return [n["text"] for n in NOTES if n["subject"] == subject and n["kind"] == kind]


def where(paths):
    """"document:path" entries of the catalogue as "document:path" strings."""
    return {"%s:%s" % (p["document"], p["path"]) for p in paths}


def numbering(paths, kinds=None):
    """Where the counters at these paths start, in words ("" when none is)."""
    out = []
    for x in INDEXES:
        if where(x["paths"]) & set(paths) and (kinds is None or set(x["kinds"]) & set(kinds)):
            out.append(x["meaning"] if x["meaning"].startswith("always") else
                       "counts from %d: %s" % (x["base"], x["meaning"]))
    return "; ".join(out)
DTYPE = {"integer": "i", "number": "n", "boolean": "b", "string": "s"}
BED = TABLES["SpeakerTypes"]["texts"][1:]
BED_LIST = "^( (" + "|".join(BED) + "))*$"
TWO_DECIMALS = r"^-?[0-9]+\.[0-9]{2}$"
DB = r"^-?[0-9]+\.[0-9]{2} dB$"


def code_list(t):
    """A code table in words, for the field dictionary."""
    if t.get("rule"):
        return "text chosen by: %s" % t["rule"]
    codes = t.get("codes") or range(t.get("first", 0), t.get("first", 0) + len(t["texts"]))
    listed = "; ".join("%d %s" % (c, json.dumps(x, ensure_ascii=False)) for c, x in zip(codes, t["texts"]))
    other = json.dumps(t["unknown"], ensure_ascii=False) if t["unknown"] is not None else "the code in decimal"
    return "codes: %s; any other code: %s" % (listed, other)


def ci(item_id, data=None, doc=None, decimal=None, pattern=None, extra=()):
    """The schema of a catalogue item: its titles and "Data" type; "Desc" from
    its table (texts, the unknown text or a decimal), its absent text, extra
    texts, and decimal / pattern for a description that shows the value."""
    it = ITEMS[item_id]
    titles = [it["title"]] + ([it["otherTitle"]] if it["otherTitle"] else [])
    t = TABLES[it["table"]] if it["table"] else None
    values = list(extra)
    notes = []
    if t:
        values = t["texts"] + ([t["unknown"]] if t["unknown"] is not None else []) + values
        if decimal is None:
            decimal = t["unknown"] is None and not t.get("rule")
        notes.append(code_list(t))
        if it["otherTitle"]:
            notes.append("title %s for a code outside the table" % json.dumps(it["otherTitle"]))
    if it["absent"] is not None:
        values.append(it["absent"])
        notes.append("%s when: %s" % (json.dumps(it["absent"], ensure_ascii=False),
                                      "; ".join(notes_of(item_id, "absent"))))
    if it["unit"]:
        notes.append("unit: %s" % it["unit"])
    counted = numbering(where(it["paths"]), it["kinds"])
    if counted:
        notes.insert(0, counted)
    notes[0:0] = notes_of(item_id, "data")
    if doc:
        notes.insert(0, doc)
    # Without a table, decimal, pattern or extra texts "Desc" is free text.
    shown = t or decimal or pattern or extra
    desc = texts(*values, decimal=bool(decimal), pattern=pattern) if shown else None
    return item(titles, DTYPE[it["dataType"]], desc, data, "; ".join(notes) or None)


def db(item_id):
    """An item shown in dB with two decimals, "-inf dB" at its floor."""
    return ci(item_id, pattern=DB, extra=[TXT["MinusInfDb"]])


def props(*entries):
    """Item schemas by their keys: each entry an item id or a (id, schema) pair."""
    out = {}
    for e in entries:
        item_id, schema = (e, ci(e)) if isinstance(e, str) else e
        out[ITEMS[item_id]["key"]] = schema
    return out


def key(member_id):
    return MEMBERS[member_id]["key"]


# ---- common "StatusInfo" items
COMMON = {
    "StreamType": ci("StreamType", {"enum": [0, 1, 16, 21, 24, 28, 60]}),
    "SignalType": ci("SignalType", {"minimum": 0}),
    "Pair": ci("Pair", {"minimum": 0}, decimal=True),
    "AtmosPresent": ci("AtmosPresent"),
    "AtmosDecode": ci("AtmosDecode", {"enum": [0, 1]}),
    "FrameRate": ci("FrameRate", None, decimal=False, pattern=r"^[0-9]+\.[0-9]{6}$"),
    "PrgCfg": ci("PrgCfg", extra=[""]),
    "MetadataID": ci("MetadataID", {"minimum": 0, "maximum": 65535}, decimal=True),
    "ChannelConfig": ci("ChannelConfig", {"minimum": 0}),
    "OutputChannelConfig": ci("OutputChannelConfig", {"minimum": 0}),
}


def entry(ids):
    return obj(props(*((i, COMMON[i]) for i in ids)))


def block(block_id, entry, lo=1, hi=1, extra=None):
    """An item that carries its entries in "ExData" (the "StatusInfo" frame)."""
    p = {"Title": {"enum": [ITEMS[block_id]["title"]]}, "Data": const_int(0), "Desc": {"enum": [""]},
         key("ExData"): arr(entry, lo, hi)}
    p.update(extra or {})
    return obj(p)


def kinds_of(type_ids):
    """The stream kinds of TypeIds."""
    return {{0: "pcm", 1: "dd", 16: "ddp", 21: "ddp", 24: "ac4", 28: "dolby-e", 60: "ed2"}[t] for t in type_ids}


def explained(item_id):
    """The data notes and numbering of an item whose schema is written here."""
    it = ITEMS[item_id]
    parts = notes_of(item_id, "data") + [numbering(where(it["paths"]), it["kinds"])]
    return "; ".join(p for p in parts if p)


def head(type_ids, md=None, programs=None, current=None, streams=None, atmos=True):
    def described(schema, text):
        return dict(schema, description=text)
    p = {key("TS"): {"type": "integer", "description": "seconds since the epoch when rendered"},
         key("ProtoVer"): {"type": "integer", "description": "record protocol version (19)"},
         key("TypeId"): described(const_int(*type_ids), "stream type: 0 PCM, 1 Dolby Digital, 16 Dolby "
                                  "Digital Plus, 21 Dolby Digital Plus over IEC 61937, 24 AC-4, 28 Dolby E, 60 ED2"),
         key("MdId"): described({"type": "integer"} if md is None else const_int(*md),
                                "metadata block of the record: 0 Dolby E, 1 Dolby Digital (Plus), 2 ED2, 3 AC-4"),
         key("NoOfPrograms"): described(programs or const_int(0), "programs (Dolby E) or presentations (AC-4)"),
         key("CurrentProgram"): described(current or const_int(0),
                                          numbering({"status:CurrentProgram"}, kinds_of(type_ids)))}
    if streams:
        p[key("NoOfStreams")] = described(streams, "AC-4: presentations; ED2: 2 with the object pair, else 1; "
                                          "Dolby E: 0")
    if atmos:
        p[key("IsAtmosPresent")] = {"type": "boolean", "description": "object audio decoded and present"}
    return p


# ---- PCM
PCM = obj(dict(head([0], streams=None, atmos=False),
               StatusInfo=block("StatusInfoBlock", entry(["StreamType", "SignalType", "Pair", "ChannelConfig"]))),
          doc="PCM (TypeId 0)")

# ---- Dolby Digital (Plus)
DDP_OBJECT = obj(props(
    ("ObjectType", ci("ObjectType", {"enum": [False]}, extra=[])),
    ("DialogueClass", ci("DialogueClass", {"enum": [0, 1]})),
    ("PositionX", ci("PositionX", pattern=TWO_DECIMALS)),
    ("PositionY", ci("PositionY", pattern=TWO_DECIMALS)),
    ("PositionZ", ci("PositionZ", pattern=TWO_DECIMALS))))
ATMOS_INFO = block("AtmosInfoBlock", obj(dict({key("PaObjects"): arr(DDP_OBJECT, 0, 15)}, **props(
    ("BedObjectConf", item(ITEMS["BedObjectConf"]["title"], "i", texts(pattern=BED_LIST),
                           {"minimum": 0, "maximum": 17}, explained("BedObjectConf"))),
    ("ComplexityIndex", ci("ComplexityIndex", decimal=True)),
    ("NumDynObjects", ci("NumDynObjects", {"minimum": 0}, "as received; \"PaObjects\" lists at most 15",
                         decimal=True)),
    "SurroundTrim", "HeightTrim"))))


def section(section_id, desc, items, kinds):
    it = ITEMS[section_id]
    return obj({it["key"]: obj({"Title": {"enum": [it["title"]]}, "Data": {"type": "integer", "minimum": 0},
                                "Desc": desc, key("ExData"): arr(obj(items), 1, 1)},
                               doc=numbering(where(it["paths"]), kinds) or None)})


def sections(desc, bitstream, informational, kinds):
    return {"type": "array", "minItems": 3, "maxItems": 3, "items": [
        section("BitstreamInfo", desc, bitstream, kinds),
        section("Informational", desc, informational, kinds),
        section("Downmixing", desc, props("Dmixmod", "Ltrtcmixlev", "Ltrtsurmixlev", "Lorocmixlev",
                                          "Lorosurmixlev"), kinds)],
        "additionalItems": False}


DIALNORM = ("Dialnorm", ci("Dialnorm", decimal=True))
COMMON_INFO = ["Roomtyp", "Copyrightb", "Origbs", "Dsurexmod"]
SUBSTREAM = sections(texts(TXT["MainSubstream"]), props(
    ("Bsid", ci("Bsid", decimal=True)),
    ("Datarate", ci("Datarate", decimal=True)),
    "Acmod", "Lfeon", DIALNORM), props(
    "Bsmod",
    "SubstreamDsurmod",
    "Mixlevel", *COMMON_INFO, "Adconvtyp"), ["dd", "ddp"])
DDP = obj(dict(head([1, 16, 21]),
               StatusInfo=block("StatusInfoBlock",
                                entry(["StreamType", "AtmosPresent", "SignalType", "Pair", "OutputChannelConfig"])),
               AtmosInfo=ATMOS_INFO,
               Streams=arr(SUBSTREAM, 1, 1)),
          required=["TS", "ProtoVer", "TypeId", "MdId", "NoOfPrograms", "CurrentProgram",
                    "IsAtmosPresent", "StatusInfo", "Streams"],
          doc="Dolby Digital (Plus) (TypeId 1, 16, 21); \"AtmosInfo\" when IsAtmosPresent")

# ---- Dolby E
PROGRAM = sections(texts(decimal=True), props(DIALNORM, "Acmod", "Lfeon"), props(
    "Bsmod", "Bwlpfon", "Cmixlev", "Surmixlev", "RfPrEmph", "ProgramDsurmod", "Audprodie", "Mixlevel",
    *COMMON_INFO, "ComprProfile", "DynrngProfile"), ["dolby-e"])
DOLBYE = obj(dict(head([28], programs={"type": "integer", "minimum": 0, "maximum": 255},
                       current={"type": "integer", "minimum": 0, "maximum": 255},
                       streams=const_int(0)),
                  StatusInfo=block("StatusInfoBlock", obj(dict(
                      props(("StreamType", COMMON["StreamType"]), ("FrameRate", COMMON["FrameRate"])),
                      **props("BitDepth", ("PrgCfg", COMMON["PrgCfg"]),
                              ("PrgCount", ci("PrgCount", {"minimum": 0}, decimal=True)),
                              ("SignalType", COMMON["SignalType"]), ("Pair", COMMON["Pair"]),
                              ("MonitorPrg", ci("MonitorPrg", {"minimum": 0})))))),
                  Programs=arr(PROGRAM, 0, 16)),
             doc="Dolby E (TypeId 28); \"Programs\" lists at most 16 of NoOfPrograms")

# ---- AC-4 (many descriptions are dB texts)
AC4_STREAM = obj(props(
    ("Ac4AverageBitrate", ci("Ac4AverageBitrate", pattern="^-?[0-9]+ kbps$")),
    ("Ac4UpperBitrate", ci("Ac4UpperBitrate", pattern="^-?[0-9]+ kbps$")),
    ("Ac4MaxUpperBitrate", ci("Ac4MaxUpperBitrate", pattern="^-?[0-9]+ kbps$")),
    ("Ac4FrameRate", ci("Ac4FrameRate", {"minimum": 0, "maximum": 255})),
    ("Ac4IFrameInterval", ci("Ac4IFrameInterval", pattern="^[0-9]+ frames$")),
    ("Ac4BitstreamVersion", ci("Ac4BitstreamVersion", decimal=True)),
    ("Ac4PresentationCount", ci("Ac4PresentationCount", {"minimum": 0, "maximum": 16}, decimal=True)),
    ("Ac4NumSubstreams", ci("Ac4NumSubstreams", {"minimum": 0, "maximum": 255}, decimal=True)),
    "Ac4CrcErrors",
    ("Ac4ActivePresentation", ci("Ac4ActivePresentation", {"minimum": 0, "maximum": 16}, decimal=True)),
    ("Ac4OutputRefLevel", db("Ac4OutputRefLevel")),
    ("Ac4AppliedDeGain", db("Ac4AppliedDeGain")),
    "Ac4DeGainLimit", "Ac4ChannelConfig", "Ac4SpeakerConfig",
    ("AtmosPresent", COMMON["AtmosPresent"]), ("SignalType", COMMON["SignalType"]), ("Pair", COMMON["Pair"])))
DRC_MODE = ITEMS["Ac4DrcMode"]
AC4_PRESENTATION = obj(dict(props(
    "Ac4PresSummary",
    ("Ac4PresId", ci("Ac4PresId", decimal=True)),
    ("Ac4SubIds", ci("Ac4SubIds", {"minimum": 0, "maximum": 255}, pattern="^-?[0-9]+(, -?[0-9]+)*$")),
    ("Ac4Level", ci("Ac4Level", decimal=True)),
    "Ac4Lang", "Ac4Atmos",
    ("Ac4Dialnorm", db("Ac4Dialnorm")),
    "Ac4LoudSum", "Ac4LoudReg", "Ac4LoudCorr", "Ac4Gate",
    ("Ac4TruePk", db("Ac4TruePk")),
    ("Ac4St3s", db("Ac4St3s")),
    "Ac4Eac3Drc"), **{
    "%s%d" % (DRC_MODE["key"], k): dict(ci("Ac4DrcMode"), properties=dict(
        ci("Ac4DrcMode")["properties"], Title={"enum": [TABLES["DrcDecoderModes"]["texts"][k]]}))
    for k in range(4)}, **props(
    ("Ac4Duck", db("Ac4Duck")),
    ("Ac4DlgGain", db("Ac4DlgGain")),
    ("Ac4AdGain", db("Ac4AdGain")),
    ("Ac4MeGain", db("Ac4MeGain")),
    ("Ac4CmGain", db("Ac4CmGain")),
    "Ac4LoRoC", "Ac4LoRoS", "Ac4LtRtC", "Ac4LtRtS",
    ("Ac4LfeMix", db("Ac4LfeMix")),
    "Ac4PrefDmx", "Ac4TfTgt", "Ac4TfGain", "Ac4TbTgt", "Ac4TbGain")))
AC4_SUBSTREAM = obj(props(
    "Ac4SubSummary",
    ("Ac4SubId", ci("Ac4SubId", {"minimum": 0, "maximum": 63}, decimal=True)),
    "Ac4ChCfg", "Ac4Obj", "Ac4DlgMax", "Ac4DeMax"))
AC4 = obj(dict(head([24], programs={"type": "integer", "minimum": 0, "maximum": 16},
                    current={"type": "integer", "minimum": 0, "maximum": 16},
                    streams={"type": "integer", "minimum": 0, "maximum": 16}),
               StatusInfo=block("Ac4StatusInfoBlock", AC4_STREAM, extra={
                   key("Ac4Presentations"): arr(AC4_PRESENTATION, 0, 16),
                   key("Ac4Substreams"): arr(AC4_SUBSTREAM, 0, 64)})),
          doc="AC-4 (TypeId 24)")

# ---- ED2
ED2_ENTRY = entry(["StreamType", "FrameRate", "MetadataID", "PrgCfg", "AtmosDecode", "SignalType", "Pair",
                   "OutputChannelConfig"])
ED2 = obj(dict(head([60], streams=const_int(1, 2)),
               StatusInfo=block("StatusInfoBlock", ED2_ENTRY, 1, 2)),
          doc="ED2 (TypeId 60); a second \"ExData\" entry (the next pair) when IsAtmosPresent")

EMPTY = {"type": "object", "maxProperties": 0,
         "description": "\"{}\": no document (decoding off, or a stream type not described)"}
STATUS_EMPTY = dict(EMPTY, description="\"{}\": decoding switched off, or a TypeId the renderers do not "
                                       "describe; DolbyProcStatus tells them apart (\"Decoding\" with {} is an "
                                       "unknown stream type)")
PRESENTATION_EMPTY = dict(EMPTY, description="\"{}\": decoding switched off")
# Not JSON, so no schema applies to it; said here so that the schema speaks
# for every payload of the topic. plovrest-tap --validate reports it as such.
EMPTY_PAYLOAD = ("An empty payload (0 bytes): a republication before any presentation document was "
                 "rendered; it carries no data")


def keyed(kinds):
    """A kind is chosen by "TypeId"; anything else must be the empty object."""
    return {"oneOf": kinds + [STATUS_EMPTY]}


STATUS = dict({"$schema": DRAFT, "title": "Decoder status document",
               "description": "Published on DolbyMetadataGrp and DolbyMetadataGrpRepub. The kind "
                              "of stream is told by \"TypeId\"."},
              **keyed([PCM, DDP, AC4, DOLBYE, ED2]))

# ---- ED2 presentation and object document (MainBoard/Render/MetadataJsonPaData.cpp)
POSITION = dict(pattern=TWO_DECIMALS)
PA_OBJECT = obj(props(
    "ObjectType",
    ("ContentClass", ci("ContentClass", {"enum": [0, 1]})),
    ("SpeakerConfig", item(ITEMS["SpeakerConfig"]["title"], "s", texts(ITEMS["SpeakerConfig"]["absent"],
                                                                       pattern=BED_LIST),
                           {"pattern": r"^(1\.0|[0-9]+-[0-9]+)$"}, explained("SpeakerConfig"))),
    ("PositionX", ci("PositionX", **POSITION)),
    ("PositionY", ci("PositionY", **POSITION)),
    ("PositionZ", ci("PositionZ", **POSITION)),
    ("ObjectId", ci("ObjectId", {"minimum": 0, "maximum": 255}, decimal=True)),
    ("ChannelId", item(ITEMS["ChannelId"]["title"], "i", texts(decimal=True, pattern=BED_LIST),
                       {"minimum": 0, "maximum": 255}, explained("ChannelId"))),
    ("ObjectGain", ci("ObjectGain", **POSITION))))
TWO = texts(pattern=TWO_DECIMALS)
BED_SOURCE = obj(props(
    "SourceTarget",
    ("SourceNumber", ci("SourceNumber", {"minimum": 1, "maximum": 255}, decimal=True)),
    ("ObjectGain", item(ITEMS["ObjectGain"]["title"], "n", TWO)),
    ("PositionX", item(ITEMS["PositionX"]["title"], "n", TWO, {"enum": [-1, 0, 1]}, explained("PositionX"))),
    ("PositionY", item(ITEMS["PositionY"]["title"], "n", TWO, {"enum": [-1, 0, 1]}, explained("PositionY"))),
    ("PositionZ", item(ITEMS["PositionZ"]["title"], "n", TWO, {"enum": [0, 1]}, explained("PositionZ")))))
PA_BED = {"type": "object", "additionalProperties": False, "properties": dict(props(
    ("SpeakerConfig", PA_OBJECT["properties"]["SpeakerConfig"]),
    ("NoSources", ci("NoSources", decimal=True))), **{key("Sources"): arr(BED_SOURCE)}),
    "description": "the first bed the presentation includes; empty when none"}
PRESENTATION = dict({"$schema": DRAFT, "title": "ED2 presentation and object document",
                     "description": "Published on \"DolbyPAData>>\" for ED2 streams; it belongs to the "
                                    "status document only while that has TypeId 60. " + EMPTY_PAYLOAD + ".",
                     "emptyPayload": EMPTY_PAYLOAD},
                    oneOf=[obj({
                        key("TS"): {"type": "integer"},
                        key("NoPresentations"): {"type": "integer", "minimum": 0, "maximum": 16},
                        key("ActivePANo"): {"type": "integer"},
                        key("ActivePAName"): {"type": "string"},
                        key("Presentations"): arr(obj(dict(props(
                            ("PresentationName", ci("PresentationName", {"enum": [True]}))),
                            **{key("PaObjects"): arr(PA_OBJECT), key("PaBed"): PA_BED})), 1, 16)},
                        ["TS", "NoPresentations", "ActivePANo", "ActivePAName"],
                        "the presentations; without \"Presentations\" when objects are not decoded, "
                        "NoPresentations is 0 or above 16, or ActivePANo is at or above NoPresentations"),
                           PRESENTATION_EMPTY])

DECODER_STATE = {"$schema": DRAFT, "title": "Decoder state message",
                 "description": "Published on DolbyProcStatus with every status document.",
                 "type": "object", "additionalProperties": False,
                 "required": ["Status", "Event"],
                 "properties": {
                     "Status": {"enum": ["No Decoder found", "Waiting for Decoder",
                                         "Not connected to Dolby Decoder", "Decoding",
                                         "Not Decoding"]},
                     "Event": {"enum": ["Dolby Zoom", "Dolby Preset", ""]}}}

RESET = dict({"$schema": DRAFT, "title": "Empty document"}, **EMPTY)

# ---- the tools' scenario files (tools/scenario/Scenario.cpp)
RAW = arr(obj({"offset": {"type": "integer", "minimum": 0},
               "hex": {"type": "string", "pattern": "^([0-9a-fA-F]{2})*$"}}))
RECORD = {"type": "object", "properties": {"raw": RAW},
          "description": "record fields by their names in MainBoard/Record/DolbyMetadataRecord.h "
                         "(checked field by field by the tools); \"raw\" writes bytes anywhere"}
EVENT = {"oneOf": [obj({"at": {"type": "number", "minimum": 0}, "event": {"type": "string"}}),
                   obj({"at": {"type": "number", "minimum": 0},
                        "peer": {"type": "string"},
                        "topic": {"type": "string", "minLength": 1},
                        "payload": {}})]}
STEP = obj({"label": {"type": "string"}, "use": {"type": "string"},
            "reset": {"type": "boolean"}, "hold": {"type": "number", "minimum": 0},
            "record": RECORD}, [])
STEP["not"] = {"required": ["use", "reset"]}
SCENARIO = {"$schema": DRAFT, "title": "Scenario file of plovrest-sim",
            "type": "object", "additionalProperties": False,
            "properties": {"description": {"type": "string"}, "record": RECORD,
                           "steps": arr(STEP, 1), "events": arr(EVENT)},
            "oneOf": [{"required": ["record"]}, {"required": ["steps"]}]}

SCHEMAS = {"status": STATUS, "presentation": PRESENTATION, "decoder-state": DECODER_STATE,
           "reset": RESET, "scenario": SCENARIO}


# ---- the field dictionary (docs/reference/fields.md)
KINDS = ["PCM", "Dolby Digital (Plus)", "AC-4", "Dolby E", "ED2"]


def jtype(s):
    if "type" in s:
        return s["type"]
    if "enum" in s:
        return {str: "string", bool: "boolean", int: "integer"}.get(type(s["enum"][0]), "")
    return ""


def values(s):
    """Possible values of a leaf, in words."""
    out = []
    if "enum" in s:
        out.append(", ".join(json.dumps(v, ensure_ascii=False) for v in s["enum"]))
    for alt in s.get("anyOf", []):
        out.append(values(alt))
    if "pattern" in s:
        out.append({"^-?[0-9]+$": "a decimal number"}.get(s["pattern"], "text matching `%s`" % s["pattern"]))
    if "minimum" in s or "maximum" in s:
        out.append("%s to %s" % (s.get("minimum", "..."), s.get("maximum", "...")))
    return " or ".join(v for v in out if v)


def cell(text):
    return text.replace("|", "\\|").replace("\n", " ")


def rows(s, path, present, out):
    """One row per key path: leaves, and items as one row each."""
    props = s.get("properties", {})
    if set(props) >= {"Title", "Data", "Desc"} and "ExData" not in props:
        title = " / ".join(props["Title"]["enum"])
        data = props["Data"]
        out.append((path, title, "item: " + jtype(data), values(data), values(props["Desc"]) or "text",
                    s.get("description", ""), present))
        return
    if s.get("type") == "array":
        limit = "%s to %s" % (s.get("minItems", 0), s.get("maxItems", "any"))
        out.append((path, "", "array", limit + " entries", "", s.get("description", ""), present))
        items = s["items"]
        if isinstance(items, list):
            for i, item in enumerate(items):
                rows(item, "%s[%d]" % (path, i), "always", out)
        else:
            rows(items, path + "[i]", "per entry", out)
        return
    if props:
        if path:
            out.append((path, "", "object", "", "", s.get("description", ""), present))
        required = s.get("required", [])
        for key, sub in props.items():
            where = "always" if key in required else "see meaning"
            rows(sub, (path + "." if path else "") + key, where, out)
        return
    out.append((path, "", jtype(s), values(s), "", s.get("description", ""), present))


def pointer(path):
    """A key path as a JSON Pointer: "StatusInfo.ExData[i].Type" -> "/StatusInfo/ExData/i/Type"."""
    return "/" + re.sub(r"\[(\w+)\]", r"/\1", path).replace(".", "/") if path else ""


def table(schema, heading):
    out = []
    rows(schema, "", "always", out)
    lines = ["", heading, "", "| JSON Pointer | title | JSON type | \"Data\" / value | \"Desc\" | meaning | present |",
             "|---|---|---|---|---|---|---|"]
    for r in out:
        lines.append("| `%s` | %s |" % (pointer(r[0]), " | ".join(cell(c) for c in r[1:])))
    return lines


def dictionary():
    lines = ["# Field dictionary", "",
             "<!-- Generated by docs/schema/gen-schemas.py with the JSON Schemas; do not edit. -->", "",
             "Every key path of the documents the daemon publishes, from the same tables as",
             "the JSON Schemas in [docs/schema/](../schema/README.md), as a JSON Pointer",
             "(RFC 6901); `i` stands for any entry of an array. An *item* is an object of",
             "exactly \"Title\" (the label to show),",
             "\"Data\" (the raw value, of the type given) and \"Desc\" (the text to show);",
             "\"present: always\" is for the document kind of the table.", "",
             "**Cut documents.** A float that is NaN or infinite stops the daemon's JSON",
             "writer where the number stands: the payload ends there (after `:`, `[` or `,`)",
             "and is not JSON. This is intended; a UI keeps the previous document.",
             "`plovrest-tap --validate` reports such a payload as *cut*.", "",
             "**Intended odd values.** Object positions: \"Data\" is the position mapped for",
             "display (x: 2x-1, y: 1-2y, z as is), \"Desc\" the stored 0..1 value, so x \"Data\"",
             "-0.5 goes with \"Desc\" \"0.25\". A bed entry has \"Data\" -1, 1, 0, 0 for x, y, z,",
             "gain with every \"Desc\" \"-\". ED2 \"SpeakerConfig\" \"Data\" is the layout label",
             "(\"5-1\": five full-range channels and one LFE; \"1.0\" for a dynamic object),",
             "\"Desc\" the speaker list. `/Streams/i/j` is section j (Bitstream Info,",
             "Informational, Downmixing) of substream i; `/Programs/i/j` the same for Dolby E",
             "program i. The presentation \"Name\" item has \"Data\" true and the name in",
             "\"Desc\". See also [DECISIONS.md](../DECISIONS.md)."]
    for kind, schema in zip(KINDS, STATUS["oneOf"][:-1]):
        lines += table(schema, "## Status document: %s (%s)" % (kind, schema.get("description", "")))
    lines += table(PRESENTATION["oneOf"][0], "## ED2 presentation and object document (`DolbyPAData>>`)")
    lines += table(DECODER_STATE, "## Decoder state (`DolbyProcStatus`)")
    lines += counters() + code_tables() + same_key_readings()
    return "\n".join(lines) + "\n"


def kinds_text(kinds):
    return ", ".join(KIND_NAMES[k] for k in kinds)


def counters():
    """Where every counter and ID starts."""
    lines = ["", "## Counters and IDs: where each starts", "",
             "The number that stands for the first entry, per counter; the renderers add it",
             "where they count from 1.", "",
             "| JSON Pointer | stream kinds | first entry | meaning |", "|---|---|---|---|"]
    for x in INDEXES:
        at = "<br>".join("%s `%s`" % (p["document"], pointer(p["path"])) for p in x["paths"])
        lines.append("| %s | %s | %d | %s |" % (at, kinds_text(x["kinds"]), x["base"], cell(x["meaning"])))
    return lines


def readings(t):
    """(code, text) rows of a code table, and the text of any other code."""
    codes = t.get("codes") or range(t.get("first", 0), t.get("first", 0) + len(t["texts"]))
    other = json.dumps(t["unknown"], ensure_ascii=False) if t["unknown"] is not None else "the code in decimal"
    return list(zip(codes, t["texts"])), other


def code_tables():
    """Every code table with the stream kinds and items that read it."""
    lines = ["", "## Code tables by stream kind", "",
             "Each table with the stream kinds whose documents read it and the items that",
             "do. **Designed** marks a reading that is as the device has always shown it,",
             "though it may look wrong; a screen shows \"Desc\" as it comes."]
    for t in CAT["tables"]:
        users = [i for i in CAT["items"] if i["table"] == t["id"]]
        if not users:
            continue
        lines += ["", "### %s" % t["id"], "",
                  "Read by %s in %s." % (", ".join(sorted({"`%s`" % i["key"] for i in users})),
                                         kinds_text(t["kinds"]))]
        for n in notes_of(t["id"], "oddity"):
            lines += ["", "**Designed:** %s." % n]
        if t.get("rule"):
            lines += ["", "Texts %s, the row chosen by: %s." % (
                ", ".join(json.dumps(x, ensure_ascii=False) for x in t["texts"]), t["rule"])]
            continue
        rows_, other = readings(t)
        lines += ["", "| code | \"Desc\" |", "|---|---|"]
        lines += ["| %d | %s |" % (c, cell(json.dumps(x, ensure_ascii=False))) for c, x in rows_]
        lines.append("| any other | %s |" % cell(other))
    return lines


def same_key_readings():
    """Keys whose codes read differently from one stream kind to another."""
    lines = ["", "## Same key, different reading", "",
             "Items with the same key whose codes other stream kinds read through another",
             "table; \"differs\" marks the codes a screen must not share between them."]
    by_key = {}
    for i in CAT["items"]:
        t = TABLES.get(i["table"]) if i["table"] else None
        if t and not t.get("rule"):
            by_key.setdefault(i["key"], {}).setdefault(t["id"], set()).update(i["kinds"])
    for k, tables in by_key.items():
        if len(tables) < 2:
            continue
        ids = list(tables)
        read = [dict(readings(TABLES[t])[0]) for t in ids]
        others = [readings(TABLES[t])[1] for t in ids]
        lines += ["", "### `%s`" % k, "",
                  "| code | " + " | ".join("%s (%s)" % (kinds_text(sorted(tables[t], key=list(KIND_NAMES).index)), t)
                                            for t in ids) + " | |",
                  "|---|" + "---|" * len(ids) + "---|"]
        for c in sorted(set().union(*read)):
            texts_ = [json.dumps(r[c], ensure_ascii=False) if c in r else o + " (any other)"
                      for r, o in zip(read, others)]
            shown = [r.get(c, o) for r, o in zip(read, others)]
            lines.append("| %d | %s | %s |" % (c, " | ".join(cell(x) for x in texts_),
                                                "differs" if len(set(shown)) > 1 else ""))
        lines.append("| any other | %s | %s |" % (" | ".join(cell(o) for o in others),
                                                   "differs" if len(set(others)) > 1 else ""))
    return lines


def contract():
    """The UI contract's sections written from the catalogue: counters, and
    items whose "Data" is not the code that "Desc" reads."""
    lines = ["## Counting: where each number starts", "",
             "Numbers count from 0 unless this table says 1; every counter and ID is listed",
             "in the [field dictionary](fields.md#counters-and-ids-where-each-starts).", "",
             "| number | stream kinds | first | meaning |", "|---|---|---|---|"]
    for x in INDEXES:
        at = ", ".join("`%s`" % pointer(p["path"]) for p in x["paths"])
        lines.append("| %s | %s | %d | %s |" % (at, kinds_text(x["kinds"]), x["base"], cell(x["meaning"])))
    lines += ["", "## \"Data\" and \"Desc\"", "",
              "\"Desc\" is the text to show. \"Data\" is mostly the code or value that \"Desc\"",
              "reads, but not for these items:", "", "| item | stream kinds | \"Data\" |", "|---|---|---|"]
    for n in NOTES:
        if n["kind"] != "data":
            continue
        it = ITEMS[n["subject"]]
        lines.append("| `%s` (%s) | %s | %s |" % (it["key"], it["title"] or it["id"], kinds_text(it["kinds"]),
                                                  cell(n["text"])))
    lines += ["", "Where a value is absent the item stays and \"Desc\" shows a fixed text (\"Not",
              "present\", \"-\", \"Unavailable\", \"-inf dB\"); which text, and when, is given per item in",
              "the [field dictionary](fields.md). Codes a table does not list read the table's",
              "text for any other code (\"Unknown\" for AC-4, the code in decimal or \"\" for Dolby",
              "Digital): see the dictionary's code tables, with the readings that differ",
              "between stream kinds under [Same key, different reading](fields.md#same-key-different-reading)."]
    return "\n".join(lines) + "\n"


def main():
    if "--contract" in sys.argv:  # for gen-reference-docs.sh
        sys.stdout.write(contract())
        return 0
    if "--dictionary" in sys.argv:  # for gen-reference-docs.sh
        pathlib.Path(sys.argv[sys.argv.index("--dictionary") + 1]).write_text(dictionary(), encoding="utf-8")
        return 0
    check = "--check" in sys.argv[1:]
    stale = []
    outputs = {HERE / (name + ".schema.json"): json.dumps(schema, indent=1, ensure_ascii=False) + "\n"
               for name, schema in SCHEMAS.items()}
    outputs[HERE.parent / "reference" / "fields.md"] = dictionary()
    for path, text in outputs.items():
        if check:
            if not path.exists() or path.read_text(encoding="utf-8") != text:
                stale.append(path.name)
        else:
            path.write_text(text, encoding="utf-8")
    if stale:
        print("stale: " + ", ".join(stale) + " (run docs/schema/gen-schemas.py)", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
