-- ardour7-lua ardour_resave.lua FOLDER NAME: loads a session, prints one of our values, saves it.
local session = load_session(arg[1], arg[2])
for track in session:get_tracks():iter() do
    local processor = track:to_route():nth_plugin(0)
    if not processor:isnil() then
        io.stderr:write(string.format("Noise Balance %.1f\n",
            ARDOUR.LuaAPI.get_processor_param(processor, 9)))
    end
end
session:save_state("")
close_session()
