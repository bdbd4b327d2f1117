-- Roles are the cluster's, the schema is the database's; done each time, by whoever may.
do $$
declare
    v_role text;
begin
    foreach v_role in array array['roaming_owner', 'roaming_desk', 'roaming_trader'] loop
        if not exists (select from pg_roles where rolname = v_role) then
            execute format('create role %I nologin', v_role);
        end if;
    end loop;
    if not pg_has_role(current_user, 'roaming_owner', 'member') then
        execute format('grant roaming_owner to %I', current_user);
    end if;
    if not exists (select from pg_namespace where nspname = 'roaming') then
        create schema roaming authorization roaming_owner;
    end if;
end $$;
