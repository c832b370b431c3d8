%% Storage for mod_mqtt in a cluster of ejabberd nodes (db_type and ram_db_type: replicated). What
%% mod_mqtt_mnesia leaves to each node by itself is done for all nodes:
%% - A retained message is visible on every node when its publish is acknowledged. The index of
%%   retained topics, which mod_mqtt keeps on each node, follows the table.
%% - When a node dies, another one publishes empty retained messages in place of those that the dead
%%   node's sessions had published, and removes the sessions.
%% - A node that starts or dies breaks no publish on the others.
%% Nothing is on disk: presence that outlived all nodes would list members who left.
-module(mod_mqtt_replicated).
-behaviour(mod_mqtt).

-export([init/2, publish/6, delete_published/2, lookup_published/2, list_topics/1, use_cache/1]).
-export([init/0, open_session/1, close_session/1, lookup_session/1, get_sessions/2]).
-export([subscribe/4, unsubscribe/2, find_subscriber/2]).
-export([index/2, watch_nodes/1]).

-include_lib("ejabberd/include/mqtt.hrl").

-record(mqtt_retained, {topic_server, session, message}).

%% How long mnesia and the sessions of the living nodes get to notice that a node died.
-define(SETTLE_TIME, 1000).
%% Of a message that does not expire, as mod_mqtt_session has it.
-define(NEVER, 16#FFFFFFFF).

%% ---- retained messages ----

init(Host, _Opts) ->
    Table = [{ram_copies, [node()]}, {attributes, record_info(fields, mqtt_retained)}],
    {atomic, _} = ejabberd_mnesia:create(?MODULE, mqtt_retained, Table),
    spawn_link(?MODULE, watch_nodes, [Host]),
    ok.

publish({_, Host, _} = Session, Topic, Payload, QoS, Properties, Expiry) ->
    Retained = #mqtt_retained{topic_server = {Topic, Host}, session = Session,
                              message = {Payload, QoS, Properties, Expiry}},
    change(fun() -> mnesia:write(Retained) end, Topic, Host).

delete_published({_, Host, _}, Topic) ->
    change(fun() -> mnesia:delete({mqtt_retained, {Topic, Host}}) end, Topic, Host).

change(Change, Topic, Host) ->
    case mnesia:sync_transaction(Change) of
        {atomic, ok} ->
            rpc:multicall(ejabberd_cluster:get_nodes(), ?MODULE, index, [Topic, Host]),
            ok;
        {aborted, _} -> {error, db_failure}
    end.

%% Brings this node's index in line with the table for one topic.
index(Topic, Host) ->
    Key = {lists:join($/, binary:split(Topic, <<$/>>, [global])), Host},
    case mnesia:dirty_read(mqtt_retained, {Topic, Host}) of
        [_] -> ets:insert(mqtt_topic_cache, {Key, Topic});
        [] -> ets:delete(mqtt_topic_cache, Key)
    end.

lookup_published({_, Host, _}, Topic) ->
    case mnesia:dirty_read(mqtt_retained, {Topic, Host}) of
        [#mqtt_retained{message = Message}] -> {ok, Message};
        [] -> {error, notfound}
    end.

list_topics(Host) ->
    {ok, [Topic || {Topic, Server} <- mnesia:dirty_all_keys(mqtt_retained), Server == Host]}.

use_cache(_Host) -> false.

%% ---- sessions and subscriptions: mod_mqtt_mnesia's tables, which are on every node already ----

init() -> mod_mqtt_mnesia:init().
open_session(Session) -> mod_mqtt_mnesia:open_session(Session).
close_session(Session) -> mod_mqtt_mnesia:close_session(Session).
lookup_session(Session) -> mod_mqtt_mnesia:lookup_session(Session).
get_sessions(User, Host) -> mod_mqtt_mnesia:get_sessions(User, Host).

%% Once it is acknowledged, every node knows it.
subscribe(Session, Filter, Options, Id) ->
    Subscribe = fun() -> mod_mqtt_mnesia:subscribe(Session, Filter, Options, Id) end,
    case mnesia:sync_transaction(Subscribe) of
        {atomic, Result} -> Result;
        {aborted, _} -> {error, db_failure}
    end.

unsubscribe(Session, Filter) -> mod_mqtt_mnesia:unsubscribe(Session, Filter).

%% Each node knows the filters of its own clients. One that starts or dies has no answer.
find_subscriber(Host, Topic) when is_binary(Topic) ->
    {Answers, _} = ejabberd_cluster:multicall(mod_mqtt_mnesia, mqtree_match, [Topic]),
    find_next(Host, lists:umerge([Filters || Filters <- Answers, is_list(Filters)]));
find_subscriber(Host, Continuation) -> mod_mqtt_mnesia:find_subscriber(Host, Continuation).

find_next(_, []) -> {error, notfound};
find_next(Host, [Filter | Filters]) ->
    mod_mqtt_mnesia:find_subscriber(Host, {Filters, {Filter, Host, '_', '_'}}).

%% ---- nodes that die ----

watch_nodes(Host) ->
    ok = net_kernel:monitor_nodes(true),
    watch_loop(Host).

watch_loop(Host) ->
    receive
        {nodedown, _} -> erlang:send_after(?SETTLE_TIME, self(), sweep);
        sweep -> sweep(Host);
        _ -> ok
    end,
    watch_loop(Host).

%% Removes what sessions of dead nodes left. The first of the living nodes does it.
sweep(Host) ->
    Living = ejabberd_cluster:get_nodes(),
    case lists:min(Living) == node() of
        true -> [remove(Session) || Session <- lost_sessions(Host, Living)];
        false -> ok
    end.

lost_sessions(Host, Living) ->
    [Session || {mqtt_session, {_, Server, _} = Session, Pid, _} <- ets:tab2list(mqtt_session),
                Server == Host, not lists:member(node(Pid), Living)].

remove({User, Host, Resource} = Session) ->
    Retained = mnesia:dirty_match_object(#mqtt_retained{session = Session, _ = '_'}),
    [mod_mqtt:publish(Session, #publish{topic = Topic, payload = <<>>, qos = 1, retain = true}, ?NEVER)
     || #mqtt_retained{topic_server = {Topic, _}} <- Retained],
    Filters = mnesia:dirty_match_object({mqtt_sub, {'_', Host, User, Resource}, '_', '_', '_', '_'}),
    lists:foreach(fun mnesia:dirty_delete_object/1, Filters),
    mnesia:dirty_delete(mqtt_session, Session).
