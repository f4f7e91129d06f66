-- ardour7-lua ardour_make.lua FOLDER NAME [TRACKS]: a session with our module on so many MIDI tracks,
-- its sound set by parameters. Prints the names that Ardour sees.
local session = create_session(arg[1], arg[2], 48000)
local info = ARDOUR.LuaAPI.new_plugin_info("Keldra", ARDOUR.PluginType.LXVST)
if info:isnil() then
    io.stderr:write("Ardour doesn't know Keldra\n")
    os.exit(1)
end
local tracks = session:new_midi_track(ARDOUR.ChanCount(ARDOUR.DataType("midi"), 1),
    ARDOUR.ChanCount(ARDOUR.DataType("audio"), 2), true, info, nil, nil, tonumber(arg[3] or 1), "Keldra",
    ARDOUR.PresentationInfo.max_order, ARDOUR.TrackMode.Normal, true)
for track in tracks:iter() do
    local processor = track:to_route():nth_plugin(0)
    local plugin = processor:to_insert():plugin(0)
    io.stderr:write("parameters ", plugin:parameter_count(), "\n")
    for i = 0, 73 do
        io.stderr:write("name ", plugin:parameter_label(i), "\n")
    end
    ARDOUR.LuaAPI.set_processor_param(processor, 9, 0.6) -- Noise Balance
    ARDOUR.LuaAPI.set_processor_param(processor, 8, 0.25) -- Osc Balance
    for i = 0, 1 do
        track:to_route():output():audio(i):connect("Master/audio_in " .. i + 1)
    end
end
session:save_state("")
close_session()
