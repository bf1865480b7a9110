#!/usr/bin/env python3
"""Writes the JSON Schemas (draft-04) of the documents plovrestd publishes.

The item tables below follow the renderers (MainBoard/Render) key by key:
title texts, JSON types and the code tables of the descriptions. Run it after
a renderer changes; `--check` fails when a committed schema differs.

    docs/schema/gen-schemas.py [--check]
    docs/schema/gen-schemas.py --dictionary FILE   only the field dictionary, to FILE

It also writes the field dictionary, docs/reference/fields.md (which
scripts/gen-reference-docs.sh writes and checks with the other pages).
"""
import json
import pathlib
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


def block(title, entry, lo=1, hi=1, extra=None):
    """An item that carries its entries in "ExData" (the "StatusInfo" frame)."""
    props = {"Title": {"enum": [title]}, "Data": const_int(0), "Desc": {"enum": [""]},
             "ExData": arr(entry, lo, hi)}
    props.update(extra or {})
    return obj(props)


# ---- code tables (MainBoard/Render/CodeTables.cpp)
ACMOD = ["1+1", "1/0", "2/0", "3/0", "2/1", "3/1", "2/2", "3/2", "3/1/1", "2/2/1", "3/2/1",
         "3/2/1", "3/0/2", "2/2/2", "2/2/22/2/2", "2/2/2", "3/2/2", "3/2/2", "3/2/2", "3/2/2",
         "3/2/2", "3/2/2", "2/2/1", "3/2/1", "2/2/2", "3/2/2", "3/2/2", "3/2/2", ""]
BSMOD = ["Main complete (CM)", "Music and effects (ME)", "Visually impaired (VI)",
         "Hearing impaired (HI)", "Dialogue (D)", "Commentary (C)", "Emergency (E)",
         "Voice over (VO)"]
ROOM = ["Not indicated", "Large", "Small", "Reserved"]
DSUREX = ["Not Indicated", "Not Dolby Surround EX", "Dolby Surround EX",
          "Dolby Pro Logic IIz encoded"]
DMIX = ["Not Indicated", "Lt/Rt", "Lo/Ro", "Dolby Pro Logic II"]
CMIX = ["+3.0 dB (1.414)", "+1.5 dB (1.189)", "0.0 dB (1.000)", "-1.5 dB (0.841)",
        "-3.0 dB (0.707)", "-4.5 dB (0.595)", "-6.0 dB (0.500)", "-inf dB (0.000)"]
SURMIX = ["Reserved", "Reserved", "Reserved", "-1.5 dB (0.841)", "-3.0 dB (0.707)",
          "-4.5 dB (0.595)", "-6.0 dB (0.500)", "-inf dB (0.000)"]
TRIMS = ["6.0", "3.0", "1.5", "0.75", "-0.75", "-1.5", "-3.0", "-4.5", "-6.0", "-7.5", "-9.0",
         "-10.5", "-12.0", "-13.5", "-15.0", "-36.0", "0.0", "Auto"]
SPEAKERS = ["Stereo", "5.1", "7.1", "5.1.2", "5.1.4", "7.1.4", "9.1.6"]
COMPR = ["None", "Film Standard", "Film Light", "Music Standard", "Music Light", "Speech",
         "Not Indicated"]
BED = ["L", "R", "C", "LFE", "Ls", "Rs", "Lrs", "Rrs", "Lfh", "Rfh", "Ltm", "Rtm", "Lrh", "Rrh",
       "Lw", "Rw", "LFE2"]
BED_LIST = "^( (" + "|".join(BED) + "))*$"
STREAM_TYPES = ["PCM", "Dolby E", "Dolby Digital", "Dolby Digital (Plus)",
                "Dolby Digital (Plus) / IEC 61937", "ED2", "Dolby AC-4"]
FRAME_RATES = ["23.98 fps", "24 fps", "25 fps", "29.97 fps", "30 fps"]


def code_list(table, other_title=None, other_text=None):
    """The code table in words, for the field dictionary."""
    listed = "; ".join("%d %s" % (i, json.dumps(t, ensure_ascii=False)) for i, t in enumerate(table))
    other = json.dumps(other_text) if other_text is not None else "the code in decimal"
    title = " (title %s)" % json.dumps(other_title) if other_title else ""
    return "codes: %s; any other code: %s%s" % (listed, other, title)


def coded(title, dtype, table, other_title=None, other_text=None):
    titles = [title] + ([other_title] if other_title else [])
    doc = code_list(table, other_title, other_text)
    if other_text is not None:
        return item(titles, dtype, texts(*table, other_text), doc=doc)
    return item(titles, dtype, texts(*table, decimal=True), doc=doc)


def flag(title, on, off):
    return item(title, "i", texts(on, off), doc="0 %s, any other value %s" % (json.dumps(off), json.dumps(on)))


# ---- common "StatusInfo" items
COMMON = {
    "Type": item("Type", "i", texts(*STREAM_TYPES), {"enum": [0, 1, 16, 21, 24, 28, 60]},
                 "stream type; \"Data\" is the header's typeId"),
    "SignalType": item("Signal Type", "i", texts("SDI", "AES"), {"minimum": 0},
                       "input: \"Data\" 2 is SDI, anything else reads AES"),
    "Pair": item("Pair", "i", texts(decimal=True), {"minimum": 0},
                 "channel pair of the input (0 when there is no input type)"),
    "AtmosPresent": item("Atmos Presence", "b", texts("Yes", "No")),
    "Atmos": item("Atmos Decode", "i", texts("Enabled", "Disabled"), {"enum": [0, 1]}),
    "FrameRate": item("Frame rate", "n", texts(*FRAME_RATES, pattern=r"^[0-9]+\.[0-9]{6}$"),
                      None, "frames per second (the code / 100); \"Desc\" printed with 6 decimals "
                            "when the code has no text"),
    "PrgCfg": item("Program configuration", "s", texts("")),
    "MetadataID": item("Metadata ID", "i", texts(decimal=True), {"minimum": 0, "maximum": 65535}),
}


def channel_config(title):
    return item(title, "i", texts(*SPEAKERS, ""), {"minimum": 0})


def entry(keys, extra=None):
    props = {k: COMMON[k] for k in keys}
    props.update(extra or {})
    return obj(props, list(props))


def head(type_ids, md=None, programs=None, current=None, streams=None, atmos=True):
    def described(schema, text):
        return dict(schema, description=text)
    p = {"TS": {"type": "integer", "description": "seconds since the epoch when rendered"},
         "ProtoVer": {"type": "integer", "description": "record protocol version (19)"},
         "TypeId": described(const_int(*type_ids), "stream type: 0 PCM, 1 Dolby Digital, 16 Dolby "
                             "Digital Plus, 21 Dolby Digital Plus over IEC 61937, 24 AC-4, 28 Dolby E, 60 ED2"),
         "MdId": described({"type": "integer"} if md is None else const_int(*md),
                           "metadata block of the record: 0 Dolby E, 1 Dolby Digital (Plus), 2 ED2, 3 AC-4"),
         "NoOfPrograms": described(programs or const_int(0), "programs (Dolby E) or presentations (AC-4)"),
         "CurrentProgram": described(current or const_int(0),
                                     "monitored program (Dolby E; 0 all) or shown presentation (AC-4, from 1)")}
    if streams:
        p["NoOfStreams"] = described(streams, "AC-4: presentations; ED2: 2 with the object pair, else 1; Dolby E: 0")
    if atmos:
        p["IsAtmosPresent"] = {"type": "boolean", "description": "object audio decoded and present"}
    return p


# ---- PCM
PCM = obj(dict(head([0], streams=None, atmos=False),
               StatusInfo=block("Status Information",
                                entry(["Type", "SignalType", "Pair"],
                                      {"ChannelConfig": channel_config("Channel Config.")}))),
          doc="PCM (TypeId 0)")

# ---- Dolby Digital (Plus)
DDP_OBJECT = obj({
    "Type": item("Object Type", "b", texts("Dynamic"), {"enum": [False]}),
    "Class": item("Object Class", "i", texts("Unknown", "Dialogue", "Not dialog", "Mixed"),
                  {"enum": [0, 1]}, "\"Data\" 1 for dialogue, else 0"),
    "x": item("Object Position x", "n", doc="\"Data\" 2x-1 (-1 left .. 1 right), \"Desc\" x (0..1)"),
    "y": item("Object Position y", "n", doc="\"Data\" 1-2y (1 front .. -1 back), \"Desc\" y (0..1)"),
    "z": item("Object Position z", "n", doc="\"Data\" and \"Desc\" z (0..1)"),
})
ATMOS_INFO = block("Atmos Object Audio Info", obj({
    "PaObjects": arr(DDP_OBJECT, 0, 15),
    "BedObjectConf": item("Bed-object configuration", "i", texts(pattern=BED_LIST),
                          {"minimum": 0, "maximum": 17}, "count of bed channels; names in \"Desc\""),
    "ComplexityIndex": item("Complexity index", "i", texts(decimal=True)),
    "NumDynObjects": item("Dynamic objects", "i", texts(decimal=True), {"minimum": 0},
                          "as received; \"PaObjects\" lists at most 15"),
    "SurroundTrim": coded("Surround trim (in dB)", "i", TRIMS, other_text="-"),
    "HeightTrim": coded("Height trim (in dB)", "i", TRIMS, other_text="-"),
}))


def section(key, title, desc, items):
    return obj({key: obj({"Title": {"enum": [title]}, "Data": {"type": "integer", "minimum": 0},
                          "Desc": desc, "ExData": arr(obj(items), 1, 1)})})


def downmixing():
    return {
        "Dmixmod": coded("Preferred Downmix", "i", DMIX, "Preferred Downmix code"),
        "Ltrtcmixlev": coded("Lt/Rt Center Downmix", "i", CMIX),
        "Ltrtsurmixlev": coded("Lt/Rt Surround Downmix", "i", SURMIX),
        "Lorocmixlev": coded("Lo/Ro Center Downmix", "i", CMIX),
        "Lorosurmixlev": coded("Lo/Ro Surround Downmix", "i", SURMIX),
    }


def sections(desc, bitstream, informational):
    return {"type": "array", "minItems": 3, "maxItems": 3, "items": [
        section("BitstreamInfo", "Bitstream Info", desc, bitstream),
        section("Informational", "Informational", desc, informational),
        section("Downmixing", "Downmixing", desc, downmixing())],
        "additionalItems": False}


ACMOD_ITEM = coded("Audio coding mode", "i", ACMOD, "Audio coding mode code")
COMMON_INFO = {
    "Roomtyp": coded("Room type", "i", ROOM, "Room type code"),
    "Copyrightb": flag("Copyright bit", "Copyright protected", "Not copyright protected"),
    "Origbs": flag("Original bitstream", "Original bitstream", "Not original bitstream"),
    "Dsurexmod": coded("Dolby Surround EX", "i", DSUREX),
}
MIXLEVEL = coded("Mix level (in dB)", "i", ["Not Indicated"])
SUBSTREAM = sections(texts("Main"), {
    "Bsid": item("Bitstream Id", "i", texts(decimal=True)),
    "Datarate": item("Data rate (kbps)", "i", texts("-", decimal=True)),
    "Acmod": ACMOD_ITEM,
    "Lfeon": flag("LFE Channel", "Enabled", "Disabled"),
    "Dialnorm": item("Dialnorm (in dB)", "i", texts(decimal=True)),
}, {
    "Bsmod": coded("Bitstream mode", "i", BSMOD, "Bitstream mode code"),
    "Dsurmod": item(["Dolby Surround", "Dolby surround code"], "i",
                    texts("-", "Not Indicated", "Dolby surround encoded", "Reserved", decimal=True),
                    doc="meaningful only with Acmod 2 (2/0); otherwise \"Desc\" is \"-\""),
    "Mixlevel": MIXLEVEL,
    **{k: COMMON_INFO[k] for k in ["Roomtyp", "Copyrightb", "Origbs", "Dsurexmod"]},
    "Adconvtyp": flag("A/D converter", "HDCD", "Standard"),
})
DDP = obj(dict(head([1, 16, 21]),
               StatusInfo=block("Status Information",
                                entry(["Type", "AtmosPresent", "SignalType", "Pair"],
                                      {"ChannelConfig": channel_config("Output Speaker Config.")})),
               AtmosInfo=ATMOS_INFO,
               Streams=arr(SUBSTREAM, 1, 1)),
          required=["TS", "ProtoVer", "TypeId", "MdId", "NoOfPrograms", "CurrentProgram",
                    "IsAtmosPresent", "StatusInfo", "Streams"],
          doc="Dolby Digital (Plus) (TypeId 1, 16, 21); \"AtmosInfo\" when IsAtmosPresent")

# ---- Dolby E
PROGRAM = sections(texts(decimal=True), {
    "Dialnorm": item("Dialnorm (in dB)", "i", texts(decimal=True)),
    "Acmod": ACMOD_ITEM,
    "Lfeon": flag("LFE Channel", "Enabled", "Disabled"),
}, {
    "Bsmod": coded("Bitstream mode", "i", BSMOD, "Bitstream mode code"),
    "Bwlpfon": flag("LFE Lowpass filter", "Enabled", "Disabled"),
    "Cmixlev": coded("Center mix level", "i", ["-3.0 dB", "-4.5 dB", "-6.0 dB"]),
    "Surmixlev": coded("Surround mix level", "i", ["-3.0 dB", "-6.0 dB", "-inf dB"]),
    "RFPrEmphOn": flag("RF overmodulation protection", "Enabled", "Disabled"),
    "Dsurmod": coded("Dolby Surround mode", "i",
                     ["Not Indicated", "Not Dolby Surround", "Dolby Surround", "Reserved"],
                     "Dolby surround code"),
    "Audprodie": flag("Production Info", "Yes", "No"),
    "Mixlevel": MIXLEVEL,
    **COMMON_INFO,
    "Compr1": coded("RF mode compression profile", "i", COMPR, "RF mode compression profile code"),
    "Dynrng1": item(["Dynamic mode compression profile", "Dynamic mode compression profile code"],
                    "i", texts(*COMPR, "Unknown", decimal=True),
                    doc="\"Data\" 65535 reads \"Unknown\""),
})
DOLBYE = obj(dict(head([28], programs={"type": "integer", "minimum": 0, "maximum": 255},
                       current={"type": "integer", "minimum": 0, "maximum": 255},
                       streams=const_int(0)),
                  StatusInfo=block("Status Information", entry(
                      ["Type", "FrameRate"],
                      {"BitDepth": item("Bit depth", "i", texts("16 bits", "20 bits")),
                       "PrgCfg": COMMON["PrgCfg"],
                       "PrgCount": item("Program count", "i", texts(decimal=True), {"minimum": 0}),
                       "SignalType": COMMON["SignalType"], "Pair": COMMON["Pair"],
                       "MonitorPrg": item("Selected Program", "i",
                                          texts("All Programs", decimal=True), {"minimum": 0})})),
                  Programs=arr(PROGRAM, 0, 16)),
             doc="Dolby E (TypeId 28); \"Programs\" lists at most 16 of NoOfPrograms")

# ---- AC-4 (MainBoard/Render/Ac4PadUi.cpp tables; many descriptions are dB texts)
AC4_STREAM = obj({
    "AC4AverageBitrate": item("Average bit rate", "i"),
    "AC4UpperBitrate": item("Upper bit rate", "i"),
    "AC4MaxUpperBitrate": item("Maximum bit rate", "i"),
    "AC4FrameRate": item("Frame rate", "i", data={"minimum": 0, "maximum": 255}),
    "AC4IFrameInterval": item("I-frame interval", "i", texts(pattern="^[0-9]+ frames$")),
    "AC4BitstreamVersion": item("Bitstream version", "i", texts(decimal=True)),
    "AC4PresentationCount": item("Number of presentations", "i", texts(decimal=True),
                                 {"minimum": 0, "maximum": 16}),
    "AC4NumSubstreams": item("Number of audio substreams", "i", texts(decimal=True),
                             {"minimum": 0, "maximum": 255}),
    "AC4CrcErrors": item("CRC errors", "i", texts("CRC error detected", "No CRC error detected")),
    "AC4ActivePresentation": item("Active presentation", "i", texts(decimal=True),
                                  {"minimum": 0, "maximum": 16}),
    "AC4OutputRefLevel": item("Output reference level", "n"),
    "AC4AppliedDeGain": item("Applied dialogue enhancement gain", "i"),
    "AC4DeGainLimit": item("Dialogue enhancement gain limit", "i"),
    "AC4ChannelConfig": item("Decoder output - active channel configuration", "i",
                             texts("2.0", "5.1", "5.1.2", "5.1.4", "Unknown")),
    "ChannelConfig": item("Speaker configuration", "i",
                          texts("Stereo", "5.1", "5.1.4", "5.1.2", "Unknown")),
    "AtmosPresent": COMMON["AtmosPresent"],
    "SignalType": COMMON["SignalType"],
    "Pair": COMMON["Pair"],
})
DRC_MODES = ["Home theater AVR", "Flat panel TV", "Portable speakers", "Portable headphones"]
AC4_PRESENTATION = obj(dict({
    "Summary": item("Presentation summary", "s"),
    "Id": item("Presentation ID", "i", texts(decimal=True)),
    "SubIds": item("Substream IDs", "i", data={"minimum": 0, "maximum": 255}),
    "Level": item("Presentation level", "i", texts(decimal=True)),
    "Lang": item("Language", "s"),
    "Atmos": item("Dolby Atmos presence", "i"),
    "Dialnorm": item("Dialogue normalization", "n"),
    "LoudSum": item("Loudness summary", "s"),
    "LoudReg": item("Loudness regulation type", "i"),
    "LoudCorr": item("Loudness correction type", "i"),
    "Gate": item("Gating type", "i"),
    "TruePk": item("True peak", "n"),
    "St3s": item("Short-term loudness (3s)", "n"),
    "Eac3Drc": item("E-AC-3 DRC profile", "i"),
}, **{"DrcMode%d" % k: item(DRC_MODES[k], "i") for k in range(4)}, **{
    "Duck": item("Main audio ducking level", "n"),
    "DlgGain": item("Dialogue gain", "n"),
    "AdGain": item("Audio Description gain", "n"),
    "MeGain": item("Music and Effects gain", "n"),
    "CmGain": item("Complete Main gain", "n"),
    "LoRoC": item("Lo/Ro center mix gain", "i"),
    "LoRoS": item("Lo/Ro surround mix gain", "i"),
    "LtRtC": item("Lt/Rt center mix gain", "i"),
    "LtRtS": item("Lt/Rt surround mix gain", "i"),
    "LfeMix": item("LFE mix gain", "n"),
    "PrefDmx": item("Preferred downmix mode", "i"),
    "TfTgt": item("5.1.4 to 5.1 top front target", "i"),
    "TfGain": item("5.1.4 to 5.1 top front mix gain", "i"),
    "TbTgt": item("5.1.4 to 5.1 top back target", "i"),
    "TbGain": item("5.1.4 to 5.1 top back mix gain", "i"),
}))
AC4_SUBSTREAM = obj({
    "Summary": item("Substream summary", "s"),
    "Id": item("Substream ID", "i", texts(decimal=True), {"minimum": 0, "maximum": 63}),
    "ChCfg": item("Channel configuration", "s"),
    "Obj": item("Object coded", "i", texts("True", "False")),
    "DlgMax": item("Maximum Dialogue gain", "i"),
    "DeMax": item("Dialogue enhancement gain limit", "i"),
})
AC4 = obj(dict(head([24], programs={"type": "integer", "minimum": 0, "maximum": 16},
                    current={"type": "integer", "minimum": 0, "maximum": 16},
                    streams={"type": "integer", "minimum": 0, "maximum": 16}),
               StatusInfo=block("Extended Metadata Details", AC4_STREAM, extra={
                   "Presentations": arr(AC4_PRESENTATION, 0, 16),
                   "Substreams": arr(AC4_SUBSTREAM, 0, 64)})),
          doc="AC-4 (TypeId 24)")

# ---- ED2
ED2_ENTRY = entry(["Type", "FrameRate", "MetadataID", "PrgCfg", "Atmos", "SignalType", "Pair"],
                  {"ChannelConfig": channel_config("Output Speaker Config.")})
ED2 = obj(dict(head([60], streams=const_int(1, 2)),
               StatusInfo=block("Status Information", ED2_ENTRY, 1, 2)),
          doc="ED2 (TypeId 60); a second \"ExData\" entry (the next pair) when IsAtmosPresent")

EMPTY = {"type": "object", "maxProperties": 0,
         "description": "\"{}\": no document (decoding off, or a stream type not described)"}


def keyed(kinds):
    """A kind is chosen by "TypeId"; anything else must be the empty object."""
    return {"oneOf": kinds + [EMPTY]}


STATUS = dict({"$schema": DRAFT, "title": "Decoder status document",
               "description": "Published on DolbyMetadataGrp and DolbyMetadataGrpRepub. The kind "
                              "of stream is told by \"TypeId\"."},
              **keyed([PCM, DDP, AC4, DOLBYE, ED2]))

# ---- ED2 presentation and object document (MainBoard/Render/MetadataJsonPaData.cpp)
SPEAKER_TYPES = ["-"] + BED
PA_CLASSES = ["Not indicated", "Dialogue", "Music", "Effects", "Music and effects", "Commentary",
              "Audio description", "Emergency", "Voice over"]
DASH = texts("-")
PA_OBJECT = obj({
    "Type": item("Object Type", "b", texts("Bed", "Dynamic"), doc="true for a bed entry"),
    "Class": item("Object Class", "i", texts(*PA_CLASSES, "-", decimal=True), {"enum": [0, 1]}),
    "SpeakerConfig": item("Speaker Config", "s", texts("-", pattern=BED_LIST),
                          {"pattern": r"^(1\.0|[0-9]+-[0-9]+)$"},
                          "\"Data\" \"1.0\" for a dynamic object, \"<full-range>-<LFE>\" for a bed"),
    "x": item("Object Position x", "n", texts("-", pattern=r"^-?[0-9]+\.[0-9]{2}$")),
    "y": item("Object Position y", "n", texts("-", pattern=r"^-?[0-9]+\.[0-9]{2}$")),
    "z": item("Object Position z", "n", texts("-", pattern=r"^-?[0-9]+\.[0-9]{2}$")),
    "ChID": item("Object ID", "i", texts("-", decimal=True), {"minimum": 0, "maximum": 255}),
    "Source": item("Channel ID", "i", texts(decimal=True, pattern=BED_LIST),
                   {"minimum": 0, "maximum": 255}),
    "Gain": item("Object Gain", "n", texts("-", pattern=r"^-?[0-9]+\.[0-9]{2}$")),
})
TWO = texts(pattern=r"^-?[0-9]+\.[0-9]{2}$")
BED_SOURCE = obj({
    "Target": item("Target", "i", texts(*SPEAKER_TYPES, decimal=True)),
    "Source": item("Source", "i", texts(decimal=True), {"minimum": 1, "maximum": 255}),
    "Gain": item("Object Gain", "n", TWO),
    "x": item("Object Position x", "n", TWO, {"enum": [-1, 0, 1]}),
    "y": item("Object Position y", "n", TWO, {"enum": [-1, 0, 1]}),
    "z": item("Object Position z", "n", TWO, {"enum": [0, 1]}),
})
PA_BED = {"type": "object", "additionalProperties": False, "properties": {
    "SpeakerConfig": PA_OBJECT["properties"]["SpeakerConfig"],
    "NoSources": item("No. of Sources", "i", texts(decimal=True)),
    "Sources": arr(BED_SOURCE)},
    "description": "the first bed the presentation includes; empty when none"}
PRESENTATION = dict({"$schema": DRAFT, "title": "ED2 presentation and object document",
                     "description": "Published on \"DolbyPAData>>\" for ED2 streams."},
                    oneOf=[obj({
                        "TS": {"type": "integer"},
                        "NoPresentations": {"type": "integer", "minimum": 0, "maximum": 16},
                        "ActivePANo": {"type": "integer"},
                        "ActivePAName": {"type": "string"},
                        "Presentations": arr(obj({
                            "Name": item("Name", "b", data={"enum": [True]},
                                         doc="\"Data\" is always true; the name is \"Desc\""),
                            "PaObjects": arr(PA_OBJECT),
                            "PaBed": PA_BED}), 1, 16)},
                        ["TS", "NoPresentations", "ActivePANo", "ActivePAName"]), EMPTY])

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


def table(schema, heading):
    out = []
    rows(schema, "", "always", out)
    lines = ["", heading, "", "| key path | title | JSON type | \"Data\" / value | \"Desc\" | meaning | present |",
             "|---|---|---|---|---|---|---|"]
    for r in out:
        lines.append("| `%s` | %s |" % (r[0], " | ".join(cell(c) for c in r[1:])))
    return lines


def dictionary():
    lines = ["# Field dictionary", "",
             "<!-- Generated by docs/schema/gen-schemas.py with the JSON Schemas; do not edit. -->", "",
             "Every key path of the documents the daemon publishes, from the same tables as",
             "the JSON Schemas in [docs/schema/](../schema/README.md). `[i]` is any entry of",
             "an array. An *item* is an object of exactly \"Title\" (the label to show),",
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
             "\"Desc\" the speaker list. `Streams[i][j]` is section j (Bitstream Info,",
             "Informational, Downmixing) of substream i; `Programs[i][j]` the same for Dolby E",
             "program i. The presentation \"Name\" item has \"Data\" true and the name in",
             "\"Desc\". See also [DECISIONS.md](../DECISIONS.md)."]
    for kind, schema in zip(KINDS, STATUS["oneOf"][:-1]):
        lines += table(schema, "## Status document: %s (%s)" % (kind, schema.get("description", "")))
    lines += table(PRESENTATION["oneOf"][0], "## ED2 presentation and object document (`DolbyPAData>>`)")
    lines += table(DECODER_STATE, "## Decoder state (`DolbyProcStatus`)")
    return "\n".join(lines) + "\n"


def main():
    if sys.argv[1:2] == ["--dictionary"] and len(sys.argv) == 3:  # for gen-reference-docs.sh
        pathlib.Path(sys.argv[2]).write_text(dictionary(), encoding="utf-8")
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
