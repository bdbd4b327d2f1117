set local role roaming_owner;
set local search_path = roaming, pg_temp;

create table migration (
    version int primary key,
    applied_at timestamptz not null default clock_timestamp()
);

-- Whoever a session logs in as; the row is made at the first save.
create table person (
    person_id bigint generated always as identity primary key,
    login text collate "C" not null unique,
    quota bigint not null default 268435456 check (quota >= 0),
    bytes_kept bigint not null default 0 check (bytes_kept >= 0),
    made_at timestamptz not null default clock_timestamp()
) with (fillfactor = 70);

create table machine (
    person_id bigint not null references person,
    machine_id uuid not null,
    name text collate "C" not null,
    last_seen timestamptz not null default clock_timestamp(),
    primary key (person_id, machine_id)
);

create table document (
    person_id bigint not null references person,
    name text collate "C" not null,
    head bigint not null,
    last bigint not null,
    primary key (person_id, name)
) with (fillfactor = 70);

-- A section of a text, once, however many revisions have it.
create table part (
    person_id bigint not null references person,
    sha256 bytea not null,
    content bytea compression lz4 not null,
    primary key (person_id, sha256)
);

create table revision (
    person_id bigint not null,
    name text collate "C" not null,
    number bigint not null,
    base bigint not null,
    aside boolean not null,
    resolved text collate "C" check (resolved is null or aside and resolved in ('mine', 'theirs')),
    save_id uuid not null,
    sha256 bytea not null,
    bytes bigint not null,
    parts bytea[], -- null: thinned out
    arrangement text collate "C" not null,
    machine_id uuid not null,
    author text collate "C" not null default session_user,
    reason text collate "C" not null,
    written_at timestamptz not null default clock_timestamp(),
    primary key (person_id, name, number),
    unique (save_id, person_id), -- not the person first: whoever looks for numbers would take it, too
    foreign key (person_id, name) references document,
    foreign key (person_id, machine_id) references machine
);
-- What somebody may choose of.
create index on revision (person_id, name, number) where aside and resolved is null;
-- Hashes do not become smaller.
alter table revision alter column parts set storage external;

create table audit (
    at timestamptz not null default clock_timestamp(),
    actor text collate "C" not null default session_user,
    action text collate "C" not null,
    person_id bigint references person,
    document text collate "C",
    from_revision bigint,
    to_revision bigint,
    reason text collate "C"
);
create index on audit (person_id, at);

-- What a revision says of itself, to those who may see it.
create view told with (security_invoker = true) as
    select r.person_id, r.name as document, r.number, r.base, r.aside,
        r.resolved is not null as resolved, r.parts is null as thinned, r.sha256, r.bytes,
        r.machine_id, m.name as machine, r.arrangement, r.author, r.reason, r.written_at
    from revision r join machine m using (person_id, machine_id);

do $$
declare
    v_table text;
    v_own text;
begin
    foreach v_table in array array['person', 'machine', 'document', 'part', 'revision', 'audit'] loop
        v_own := case v_table when 'person' then 'login = session_user::text'
            else 'person_id = (select person_id from person where login = session_user::text)' end;
        execute format('alter table %I enable row level security', v_table);
        execute format('create policy own on %I for select to roaming_trader using (%s)',
            v_table, v_own);
        execute format('create policy desk on %I for select to roaming_desk using (true)', v_table);
        execute format('grant select on %I to roaming_trader, roaming_desk', v_table);
    end loop;
end $$;
alter table migration enable row level security;
create policy everybody on migration for select to roaming_trader, roaming_desk using (true);
grant select on migration, told to roaming_trader, roaming_desk;
grant usage on schema roaming to roaming_trader, roaming_desk;
